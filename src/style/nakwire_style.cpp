// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "nakwire_style.h"

#include "nak_color.h"
#include "style_controls.h"
#include "style_paint.h"
#include "style_tabs.h"

#include <QApplication>
#include <QIconEngine>
#include <QPainter>
#include <QStyleOption>
#include <QWidget>
#include <QWindow>

#include <algorithm>

using namespace NakStylePaint;

namespace {

constexpr double placeholderStep = 0.55; // how far from the ground towards the text
constexpr int menuLightenBy = 108; // percent, as below a menu's items

// By as much as NakColor::adjustLightness, but a faint tint stays faint.
QColor shaded(QColor const& color, double delta)
{
    double const from = color.lightnessF();
    double const to = NakColor::adjustLightness(color, delta).lightnessF();
    if (to < from)
        return NakColor::mix(color, Qt::black, 1 - to / from);
    return from < 1 ? NakColor::mix(color, Qt::white, (to - from) / (1 - from)) : color;
}

// Fusion draws the icon of a chosen row in the mode of a hovered tool button, whose ground is that
// of the window.
QStyleOptionMenuItem withSelectedIcon(QStyleOptionMenuItem const& item, int extent,
                                      QWidget const* widget)
{
    QStyleOptionMenuItem chosen(item);
    QWindow* const window = widget ? widget->window()->windowHandle() : nullptr;
    chosen.icon = QIcon(item.icon.pixmap(window, { extent, extent }, QIcon::Selected));
    return chosen;
}

// The arrow of a tool bar or menu bar that has no room for all its items. Qt's own is a picture
// that a search through the icon themes finds, in every window, shown or not.
class ExtensionIconEngine : public QIconEngine {
public:
    void paint(QPainter* painter, QRect const& rect, QIcon::Mode, QIcon::State) override
    {
        ScopedPainter const scope(painter);
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(QPen(QApplication::palette().color(QPalette::WindowText), 1.3));
        QPointF const center = QRectF(rect).center();
        double const arm = std::min(rect.width(), rect.height()) / 5.0;
        for (double shift : { -arm, arm }) {
            QPointF const tip = center + QPointF(shift + arm / 2, 0);
            painter->drawLine(tip, tip + QPointF(-arm, -arm));
            painter->drawLine(tip, tip + QPointF(-arm, arm));
        }
    }

    QPixmap pixmap(QSize const& size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return pixmap;
    }

    QIconEngine* clone() const override { return new ExtensionIconEngine; }
};

} // namespace

NakwireStyle::NakwireStyle()
    : QProxyStyle(QStringLiteral("fusion"))
{
}

bool NakwireStyle::tabShowsClose(int tabWidth, bool current)
{
    // Room for an icon and the button, and for a title beside them.
    constexpr int narrowest = tabPadding + 16 + tabGap + 16 + tabPadding / 2;
    constexpr int narrow = 72;
    return tabWidth >= (current ? narrowest : narrow);
}

QColor NakwireStyle::tabStripColor(QPalette const& palette)
{
    // Not by lightness, which makes a faint tint a strong one.
    QColor const& window = palette.color(QPalette::Window);
    return window.darker(window.lightness() > 126 ? 105 : 125);
}

QColor NakwireStyle::lineColor(QPalette const& palette)
{
    return stepped(palette, QPalette::Window, 0.18);
}

void NakwireStyle::polish(QPalette& palette)
{
    QColor const button = palette.color(QPalette::Active, QPalette::Button);
    palette.setColor(QPalette::Light, shaded(button, 0.06));
    palette.setColor(QPalette::Midlight, shaded(button, 0.03));
    palette.setColor(QPalette::Mid, shaded(button, -0.06));
    palette.setColor(QPalette::Dark, shaded(button, -0.12));

    QColor const base = palette.color(QPalette::Active, QPalette::Base);
    QColor const text = palette.color(QPalette::Active, QPalette::Text);
    // A field that takes no input has no ground of its own.
    palette.setColor(QPalette::Disabled, QPalette::Base,
                     palette.color(QPalette::Active, QPalette::Window));
    palette.setColor(QPalette::PlaceholderText, NakColor::mix(base, text, placeholderStep));
    palette.setColor(QPalette::Link, palette.color(QPalette::Active, QPalette::Highlight));
    palette.setColor(QPalette::LinkVisited, palette.color(QPalette::Active, QPalette::Highlight));
    palette.setColor(QPalette::ToolTipBase, base);
    palette.setColor(QPalette::ToolTipText, text);
}

void NakwireStyle::polish(QWidget* widget)
{
    QProxyStyle::polish(widget);
    if (widget->inherits("QTipLabel"))
        widget->setPalette(QApplication::palette());
    // Ours fill their whole rectangle; else a scrolled view paints its own ground and frame below.
    if (widget->inherits("QScrollBar"))
        widget->setAttribute(Qt::WA_OpaquePaintEvent);
}

void NakwireStyle::drawPrimitive(PrimitiveElement element, QStyleOption const* option,
                                 QPainter* painter, QWidget const* widget) const
{
    switch (element) {
    case PE_FrameFocusRect:
        paintFocusRing(painter, *option);
        return;
    case PE_PanelButtonTool:
        paintToolButtonPanel(painter, *option);
        return;
    case PE_IndicatorCheckBox:
        paintCheckBox(painter, *option);
        return;
    case PE_PanelButtonCommand:
        paintPushButtonPanel(painter, *option);
        return;
    case PE_IndicatorTabClose:
        paintTabClose(painter, *option);
        return;
    case PE_PanelTipLabel:
        painter->fillRect(option->rect, lineColor(option->palette));
        painter->fillRect(option->rect.adjusted(1, 1, -1, -1),
                          option->palette.color(QPalette::ToolTipBase));
        return;
    case PE_IndicatorBranch: {
        // Fusion's arrow has the colour of the window's text, which vanishes on a selected row.
        QStyleOption branch(*option);
        if (branch.state.testFlag(State_Selected))
            branch.palette.setColor(QPalette::WindowText,
                                    option->palette.color(QPalette::HighlightedText));
        QProxyStyle::drawPrimitive(element, &branch, painter, widget);
        return;
    }
    case PE_PanelMenu: // Qt's line is darker than the ground, which nobody sees in a dark theme
        painter->fillRect(option->rect, lineColor(option->palette));
        painter->fillRect(option->rect.adjusted(1, 1, -1, -1),
                          option->palette.color(QPalette::Base).lighter(menuLightenBy));
        return;
    case PE_FrameTabWidget:
    case PE_FrameTabBarBase:
    case PE_FrameStatusBarItem:
    case PE_PanelMenuBar:
    case PE_FrameDefaultButton: // part of the button's panel
        return;
    default:
        QProxyStyle::drawPrimitive(element, option, painter, widget);
    }
}

void NakwireStyle::drawControl(ControlElement element, QStyleOption const* option,
                               QPainter* painter, QWidget const* widget) const
{
    switch (element) {
    case CE_TabBarTabShape:
        if (auto const* tab = qstyleoption_cast<QStyleOptionTab const*>(option))
            paintTabShape(painter, *tab);
        return;
    case CE_TabBarTabLabel:
        if (auto const* tab = qstyleoption_cast<QStyleOptionTab const*>(option))
            paintTabLabel(*this, painter, *tab, widget);
        return;
    case CE_MenuBarItem:
        if (auto const* item = qstyleoption_cast<QStyleOptionMenuItem const*>(option))
            paintMenuBarItem(*this, painter, *item);
        return;
    case CE_MenuItem: {
        auto const* item = qstyleoption_cast<QStyleOptionMenuItem const*>(option);
        if (item && !item->icon.isNull() && item->state.testFlag(State_Selected)
            && item->state.testFlag(State_Enabled)) {
            int const extent = pixelMetric(PM_SmallIconSize, option, widget);
            QStyleOptionMenuItem const chosen = withSelectedIcon(*item, extent, widget);
            QProxyStyle::drawControl(element, &chosen, painter, widget);
            return;
        }
        QProxyStyle::drawControl(element, option, painter, widget);
        return;
    }
    case CE_ToolBar:
    case CE_MenuBarEmptyArea:
        painter->fillRect(option->rect, option->palette.color(QPalette::Window));
        return;
    case CE_Splitter:
        painter->fillRect(option->rect, lineColor(option->palette));
        return;
    default:
        QProxyStyle::drawControl(element, option, painter, widget);
    }
}

void NakwireStyle::drawComplexControl(ComplexControl control, QStyleOptionComplex const* option,
                                      QPainter* painter, QWidget const* widget) const
{
    if (control == CC_ScrollBar) {
        if (auto const* bar = qstyleoption_cast<QStyleOptionSlider const*>(option))
            paintScrollBar(*this, painter, *bar, widget);
        return;
    }
    if (control == CC_SpinBox) {
        if (auto const* box = qstyleoption_cast<QStyleOptionSpinBox const*>(option))
            paintSpinBox(*this, painter, *box, widget);
        return;
    }
    QProxyStyle::drawComplexControl(control, option, painter, widget);
}

QRect NakwireStyle::subControlRect(ComplexControl control, QStyleOptionComplex const* option,
                                   SubControl subControl, QWidget const* widget) const
{
    auto const* bar = qstyleoption_cast<QStyleOptionSlider const*>(option);
    if (control != CC_ScrollBar || !bar)
        return QProxyStyle::subControlRect(control, option, subControl, widget);

    QRect const slider = scrollSliderRect(*bar, pixelMetric(PM_ScrollBarSliderMin, option, widget));
    bool const horizontal = bar->orientation == Qt::Horizontal;
    QRect page = bar->rect;
    switch (subControl) {
    case SC_ScrollBarGroove:
        return page;
    case SC_ScrollBarSlider:
        return slider;
    case SC_ScrollBarSubPage:
        horizontal ? page.setRight(slider.left() - 1) : page.setBottom(slider.top() - 1);
        return page;
    case SC_ScrollBarAddPage:
        horizontal ? page.setLeft(slider.right() + 1) : page.setTop(slider.bottom() + 1);
        return page;
    default:
        return {};
    }
}

QRect NakwireStyle::subElementRect(SubElement element, QStyleOption const* option,
                                   QWidget const* widget) const
{
    if (element == SE_ItemViewItemFocusRect) // the row, not its text alone
        return option->rect;
    if (element == SE_TabBarTabText) {
        if (auto const* tab = qstyleoption_cast<QStyleOptionTab const*>(option))
            return layoutTab(*tab).text;
    }
    return QProxyStyle::subElementRect(element, option, widget);
}

int NakwireStyle::pixelMetric(PixelMetric metric, QStyleOption const* option,
                              QWidget const* widget) const
{
    switch (metric) {
    case PM_SplitterWidth:
        return 1;
    case PM_ScrollBarExtent:
        return scrollBarExtent;
    case PM_ScrollBarSliderMin:
        return 24;
    case PM_ToolBarIconSize:
    case PM_SmallIconSize:
    case PM_TabBarIconSize:
    case PM_TabCloseIndicatorWidth:
    case PM_TabCloseIndicatorHeight:
        return 16;
    case PM_TabBarTabHSpace:
        return 2 * tabPadding;
    case PM_MenuBarHMargin:
    case PM_MenuBarVMargin:
    case PM_MenuBarPanelWidth:
    case PM_ToolBarFrameWidth:
    case PM_ToolBarItemSpacing:
    case PM_TabBarTabShiftVertical:
    case PM_TabBarTabShiftHorizontal:
    case PM_TabBarTabOverlap:
    case PM_TabBarBaseOverlap:
    case PM_TabBarBaseHeight:
    case PM_ButtonShiftHorizontal:
    case PM_ButtonShiftVertical:
        return 0;
    case PM_ToolBarItemMargin:
        return 2;
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

int NakwireStyle::styleHint(StyleHint hint, QStyleOption const* option, QWidget const* widget,
                            QStyleHintReturn* returnData) const
{
    switch (hint) {
    case SH_EtchDisabledText:
    case SH_DitherDisabledText:
    case SH_Widget_Animation_Duration:
    case SH_TabBar_Alignment: // left
    case SH_DialogButtonBox_ButtonsHaveIcons:
        return 0;
    case SH_TabBar_ElideMode:
        return Qt::ElideRight;
    case SH_TabBar_CloseButtonPosition:
        return 1; // right
    case SH_ScrollBar_Transient:
        return 0;
    default:
        return QProxyStyle::styleHint(hint, option, widget, returnData);
    }
}

QIcon NakwireStyle::standardIcon(StandardPixmap standardIcon, QStyleOption const* option,
                                 QWidget const* widget) const
{
    if (standardIcon == SP_ToolBarHorizontalExtensionButton)
        return QIcon(new ExtensionIconEngine);
    return QProxyStyle::standardIcon(standardIcon, option, widget);
}
