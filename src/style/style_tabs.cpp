// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "style_tabs.h"

#include "nakwire_style.h"
#include "style_paint.h"

#include <QStyleOption>

using namespace NakStylePaint;

namespace {

constexpr int tabAccent = 2; // the line on top of the current tab, device-independent pixels

} // namespace

NakStylePaint::TabLayout NakStylePaint::layoutTab(QStyleOptionTab const& tab)
{
    bool const current = tab.state.testFlag(QStyle::State_Selected);
    bool const showsClose =
        !tab.rightButtonSize.isEmpty() && NakwireStyle::tabShowsClose(tab.rect.width(), current);
    QRect room = tab.rect.adjusted(tabPadding, 0, -tabPadding, 0);
    if (showsClose) // it stands half the padding off the edge
        room.setRight(room.right() + tabPadding / 2 - tab.rightButtonSize.width() - tabGap);

    TabLayout layout;
    if (!tab.icon.isNull()) {
        QSize const size = tab.iconSize.boundedTo(tab.rect.size());
        int const top = tab.rect.top() + (tab.rect.height() - size.height()) / 2;
        layout.icon = QRect(QPoint(room.left(), top), size);
        room.setLeft(layout.icon.right() + 1 + tabGap);
        // Too narrow for any text.
        if (room.width() < tabPadding) {
            room.setWidth(0);
            if (!showsClose)
                layout.icon.moveCenter({ tab.rect.center().x(), layout.icon.center().y() });
        }
    }
    layout.text = room;
    return layout;
}

void NakStylePaint::paintTabShape(QPainter* painter, QStyleOptionTab const& tab)
{
    bool const selected = tab.state.testFlag(QStyle::State_Selected);
    QColor const strip = NakwireStyle::tabStripColor(tab.palette);
    QColor const window = tab.palette.color(QPalette::Window);
    if (selected) {
        painter->fillRect(tab.rect, window);
        painter->fillRect(tab.rect.x(), tab.rect.y(), tab.rect.width(), tabAccent,
                          tab.palette.color(QPalette::Highlight));
        return;
    }
    bool const hovered = tab.state.testFlag(QStyle::State_MouseOver);
    painter->fillRect(tab.rect, hovered ? NakColor::mix(strip, window, 0.6) : strip);
    // Between two tabs that are both in the background.
    bool const last = tab.position == QStyleOptionTab::End
        || tab.position == QStyleOptionTab::OnlyOneTab
        || tab.selectedPosition == QStyleOptionTab::NextIsSelected;
    if (!last) {
        int const inset = tab.rect.height() / 4;
        painter->fillRect(tab.rect.right(), tab.rect.y() + inset, 1, tab.rect.height() - 2 * inset,
                          NakwireStyle::lineColor(tab.palette));
    }
}

void NakStylePaint::paintTabLabel(QStyle const& style, QPainter* painter,
                                  QStyleOptionTab const& tab, QWidget const* widget)
{
    TabLayout const layout = layoutTab(tab);
    bool const enabled = tab.state.testFlag(QStyle::State_Enabled);
    if (!layout.icon.isNull())
        tab.icon.paint(painter, layout.icon, Qt::AlignCenter,
                       enabled ? QIcon::Normal : QIcon::Disabled);
    style.drawItemText(painter, layout.text,
                       Qt::AlignLeft | Qt::AlignVCenter | Qt::TextShowMnemonic, tab.palette,
                       enabled, tab.text, QPalette::WindowText);
    if (tab.state.testFlag(QStyle::State_HasFocus)) {
        QStyleOptionFocusRect ring;
        static_cast<QStyleOption&>(ring) = tab;
        ring.rect = tab.rect.adjusted(1, tabAccent + 1, -1, -1);
        style.drawPrimitive(QStyle::PE_FrameFocusRect, &ring, painter, widget);
    }
}

void NakStylePaint::paintTabClose(QPainter* painter, QStyleOption const& option)
{
    ScopedPainter const scope(painter);
    painter->setRenderHint(QPainter::Antialiasing);
    bool const hovered = option.state.testFlag(QStyle::State_MouseOver)
        && option.state.testFlag(QStyle::State_Enabled);
    if (hovered) {
        bool const sunken = option.state.testFlag(QStyle::State_Sunken);
        painter->setPen(Qt::NoPen);
        painter->setBrush(
            stepped(option.palette, QPalette::Window, sunken ? pressedStep : checkedStep));
        painter->drawRoundedRect(option.rect, buttonRadius, buttonRadius);
    }
    double const step = hovered ? 1.0 : 0.6;
    painter->setPen(
        QPen(stepped(option.palette, QPalette::Window, step), 1.3, Qt::SolidLine, Qt::RoundCap));
    QPointF const center = QRectF(option.rect).center();
    constexpr double arm = 3.5;
    painter->drawLine(center + QPointF(-arm, -arm), center + QPointF(arm, arm));
    painter->drawLine(center + QPointF(-arm, arm), center + QPointF(arm, -arm));
}
