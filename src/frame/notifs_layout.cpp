// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "notifs_layout.h"

#include "gui_icons.h"
#include "nak_color.h"
#include "nakwire_style.h"

#include <QPainter>
#include <QPalette>

#include <algorithm>
#include <numeric>

namespace {

constexpr ushort dismissGlyph = 61453; // a cross

int roundedUpToEven(int number)
{
    return number + number % 2;
}

int naturalWidth(NakNotifAction const& action, NakNotifsMetrics const& metrics)
{
    // Advances have fractions, and what lacks one of them would be cut.
    int const text = action.text().isEmpty() ? 0 : metrics.fm.horizontalAdvance(action.text()) + 1;
    int const icon =
        action.icon().isNull() ? 0 : metrics.iconSize + (text > 0 ? metrics.iconGap : 0);
    return 2 * metrics.padding + icon + text;
}

QVector<int> naturalWidths(QVector<NakNotifAction> const& actions, NakNotifsMetrics const& metrics)
{
    QVector<int> widths;
    for (NakNotifAction const& action : actions)
        widths.append(naturalWidth(action, metrics));
    return widths;
}

int roomForActions(QVector<NakNotifAction> const& actions, NakNotifsMetrics const& metrics,
                   int width)
{
    return width - 2 * metrics.side - metrics.gap * (actions.size() - 1);
}

// Those of the item and the one that dismisses it, of which the cross alone has to do where there
// is little room.
QVector<NakNotifAction> shownActions(NakNotifItem const& item, NakNotifsMetrics const& metrics,
                                     int width)
{
    QVector<NakNotifAction> actions = item.actions();
    if (!item.isDismissable())
        return actions;
    QIcon const cross = g_guiIcons ? g_guiIcons->iconForCode(QChar(dismissGlyph)) : QIcon();
    actions.append(NakNotifAction(cross, QStringLiteral("Dismiss")));
    QVector<int> const widths = naturalWidths(actions, metrics);
    int const natural = std::accumulate(widths.begin(), widths.end(), 0);
    if (!cross.isNull() && natural > roomForActions(actions, metrics, width))
        actions.last() = NakNotifAction(cross, QString());
    return actions;
}

// Those that need less than their share leave the rest to the others.
QVector<int> sharedWidths(QVector<int> widths, int room)
{
    QVector<int*> byWidth;
    for (int& width : widths)
        byWidth.append(&width);
    std::sort(byWidth.begin(), byWidth.end(), [](int const* a, int const* b) { return *a < *b; });
    for (int i = 0; i < byWidth.size(); ++i) {
        *byWidth.at(i) = std::min(*byWidth.at(i), std::max(room, 0) / (byWidth.size() - i));
        room -= *byWidth.at(i);
    }
    return widths;
}

NakNotifStripLayout::Action layoutAction(NakNotifAction const& action, QRect const& rect,
                                         NakNotifsMetrics const& metrics)
{
    NakNotifStripLayout::Action layout;
    layout.rect = rect;
    layout.picture = action.icon();
    int x = rect.left() + metrics.padding;
    if (!action.icon().isNull()) {
        int const top = rect.top() + (rect.height() - metrics.iconSize) / 2;
        layout.icon = QRect(x, top, metrics.iconSize, metrics.iconSize);
        x += metrics.iconSize + metrics.iconGap;
    }
    int const room = std::max(rect.right() + 1 - metrics.padding - x, 0);
    layout.text = metrics.fm.elidedText(action.text(), Qt::ElideRight, room);
    int const textTop = rect.top() + (rect.height() - metrics.fm.height()) / 2;
    layout.baseline = QPoint(x, textTop + metrics.fm.ascent());
    return layout;
}

} // namespace

NakNotifsMetrics::NakNotifsMetrics(QFont const& font)
    : fm(font)
    , stripHeight(roundedUpToEven(fm.height()) + 11)
    , side(fm.height() / 2)
    , iconSize(roundedUpToEven(fm.ascent()))
{
}

NakNotifsTheme::NakNotifsTheme(QPalette const& palette)
    : text(palette.color(QPalette::WindowText))
    , separator(NakwireStyle::lineColor(palette))
    , action(NakColor::mix(palette.color(QPalette::Window), text, 0.07))
    , hover(NakColor::mix(palette.color(QPalette::Window), text, 0.16))
    , pressed(NakColor::mix(palette.color(QPalette::Window), text, 0.28))
    , caret(palette.color(QPalette::Highlight))
{
}

NakNotifStripLayout layoutActions(NakNotifItem const& item, NakNotifsMetrics const& metrics,
                                  int top, int width)
{
    QVector<NakNotifAction> const actions = shownActions(item, metrics, width);
    NakNotifStripLayout layout;
    if (actions.isEmpty())
        return layout;
    layout.hasDismiss = item.isDismissable();
    layout.height = metrics.stripHeight;
    QVector<int> const widths =
        sharedWidths(naturalWidths(actions, metrics), roomForActions(actions, metrics, width));
    int x = metrics.side;
    for (int i = 0; i < actions.size(); ++i) {
        if (layout.hasDismiss && i == actions.size() - 1)
            x = std::max(x, width - metrics.side - widths.at(i));
        QRect const rect(x, top, widths.at(i), metrics.stripHeight - metrics.below);
        layout.actions.append(layoutAction(actions.at(i), rect, metrics));
        x += widths.at(i) + metrics.gap;
    }
    return layout;
}

void paintActions(QPainter& painter, NakNotifStripLayout const& layout,
                  NakNotifStripState const& state, NakNotifsMetrics const& metrics,
                  NakNotifsTheme const& theme)
{
    for (int i = 0; i < layout.actions.size(); ++i) {
        NakNotifStripLayout::Action const& action = layout.actions.at(i);
        bool const hovered = i == state.hovered;
        QColor const& fill = !hovered ? theme.action
            : i == state.pressed      ? theme.pressed
                                      : theme.hover;
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(i == state.caret ? QPen(theme.caret, metrics.penWidth) : QPen(Qt::NoPen));
        painter.setBrush(fill);
        double const inset = metrics.penWidth / 2;
        painter.drawRoundedRect(QRectF(action.rect).adjusted(inset, inset, -inset, -inset),
                                metrics.radius, metrics.radius);
        if (!action.icon.isEmpty())
            action.picture.paint(&painter, action.icon);
        painter.setPen(theme.text);
        painter.drawText(action.baseline, action.text);
    }
}

int hitActions(NakNotifStripLayout const& layout, QPoint const& pos)
{
    for (int i = 0; i < layout.actions.size(); ++i) {
        if (layout.actions.at(i).rect.contains(pos))
            return i;
    }
    return -1;
}
