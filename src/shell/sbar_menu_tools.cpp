// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "sbar_menu_tools.h"

#include "plain_text.h"

#include <QMenu>

namespace {

constexpr int maxMenuNameWidth = 220; // pixels; a menu is as wide as its widest text

} // namespace

QAction* NakSbar::addMenuAction(QMenu* menu, char const* pattern, QString const& name,
                                std::function<void()> const& effect)
{
    QString text = QString::fromUtf8(pattern);
    if (text.contains(QLatin1String("%1")))
        text = text.arg(NakPlainText::withoutMnemonics(menu->fontMetrics().elidedText(
            NakPlainText::titleLine(name), Qt::ElideRight, maxMenuNameWidth)));
    QAction* const action = menu->addAction(text);
    QObject::connect(action, &QAction::triggered, menu->parent(), effect);
    return action;
}
