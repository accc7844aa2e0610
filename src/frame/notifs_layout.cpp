// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "notifs_layout.h"

#include "gui_icons.h"
#include "nak_color.h"
#include "nakwire_style.h"

#include <QPainter>
#include <QPalette>

#include <algorithm>

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
    QVector<NakNotifAction> actions = item.actions();
    if (item.isDismissable()) {
        QIcon const cross = g_guiIcons ? g_guiIcons->iconForCode(QChar(dismissGlyph)) : QIcon();
        actions.append(NakNotifAction(cross, QStringLiteral("Dismiss")));
    }
    NakNotifStripLayout layout;
    if (actions.isEmpty())
        return layout;
    layout.hasDismiss = item.isDismissable();
    layout.height = metrics.stripHeight;
    int const gaps = metrics.gap * (actions.size() - 1);
    int const share = std::max(width - 2 * metrics.side - gaps, 0) / actions.size();
    QVector<int> widths;
    int natural = gaps;
    for (NakNotifAction const& action : qAsConst(actions)) {
        widths.append(naturalWidth(action, metrics));
        natural += widths.last();
    }
    bool const crowded = natural > width - 2 * metrics.side;
    int x = metrics.side;
    for (int i = 0; i < actions.size(); ++i) {
        int const own = crowded ? std::min(widths.at(i), share) : widths.at(i);
        if (layout.hasDismiss && i == actions.size() - 1)
            x = std::max(x, width - metrics.side - own);
        QRect const rect(x, top, own, metrics.stripHeight - metrics.below);
        layout.actions.append(layoutAction(actions.at(i), rect, metrics));
        x += own + metrics.gap;
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
