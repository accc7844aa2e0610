// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The built-in style: flat, dense, drawn from the palette alone. Stands on Fusion and draws anew
// what a chat window shows most: tabs, tool bars, menu bar, scroll bars, splitters, focus rings.
// Made by src/app unless the user asked for another style. User-interface thread.

#include <QProxyStyle>

class NakwireStyle : public QProxyStyle {
    Q_OBJECT
public:
    NakwireStyle();

    // Whether a tab of this width (device-independent pixels) has room for its close button. On a
    // narrow one a click that is meant for the tab would close it, so there only the current has
    // it.
    static bool tabShowsClose(int tabWidth, bool current);

    // What lies behind the tabs that are not current.
    static QColor tabStripColor(QPalette const& palette);
    // Hairlines between parts of a window.
    static QColor lineColor(QPalette const& palette);

    using QProxyStyle::polish;
    // Fills the roles that a theme does not name (bevels, links, tool tips, placeholders) from
    // those that it does.
    void polish(QPalette& palette) override;
    // Tool tips take the theme's colours too; by themselves they keep the desktop's.
    void polish(QWidget* widget) override;

    void drawPrimitive(PrimitiveElement element, QStyleOption const* option, QPainter* painter,
                       QWidget const* widget) const override;
    void drawControl(ControlElement element, QStyleOption const* option, QPainter* painter,
                     QWidget const* widget) const override;
    void drawComplexControl(ComplexControl control, QStyleOptionComplex const* option,
                            QPainter* painter, QWidget const* widget) const override;
    QRect subControlRect(ComplexControl control, QStyleOptionComplex const* option,
                         SubControl subControl, QWidget const* widget) const override;
    QRect subElementRect(SubElement element, QStyleOption const* option,
                         QWidget const* widget) const override;
    int pixelMetric(PixelMetric metric, QStyleOption const* option,
                    QWidget const* widget) const override;
    int styleHint(StyleHint hint, QStyleOption const* option, QWidget const* widget,
                  QStyleHintReturn* returnData) const override;
    QIcon standardIcon(StandardPixmap standardIcon, QStyleOption const* option,
                       QWidget const* widget) const override;
};
