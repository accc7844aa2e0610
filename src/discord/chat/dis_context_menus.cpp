// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_context_menus.h"

#include "dis_chan_buff.h"
#include "dis_client.h"
#include "dis_utils.h"

#include <QAction>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>

namespace {

// Nothing brings a deleted message back, and "Delete" stands next to "Edit".
void askAndDelete(DisChanBuff* buffer, FlakeId userId, FlakeId channelId, FlakeId messageId)
{
    auto* box = new QMessageBox(QMessageBox::Question, QStringLiteral("Delete Message"),
                                QStringLiteral("Delete this message?"), QMessageBox::Cancel,
                                buffer->window());
    box->setTextFormat(Qt::PlainText);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::WindowModal);
    QPushButton* yes = box->addButton(QStringLiteral("Delete"), QMessageBox::DestructiveRole);
    QObject::connect(yes, &QPushButton::clicked, buffer,
                     [=] { g_disClient->deleteChannelMessage(channelId, messageId, userId); });
    box->show();
}

} // namespace

namespace DisContextMenus {

void popupChannelMessageContextMenu(DisChanBuff* buffer, FlakeId userId, FlakeId channelId,
                                    FlakeId messageId, QPoint const& globalPos)
{
    auto* menu = new QMenu(buffer);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    QAction* copy = menu->addAction(QStringLiteral("Copy Text"),
                                    [buffer] { buffer->copyMessageTextAction()->trigger(); });
    copy->setEnabled(!buffer->selectedPlainText().isEmpty());
    bool const deleted = DisUtils::isMessageDeleted(messageId);
    if (!deleted && DisUtils::anyOwnUsersCanEditMessage(channelId, messageId)) {
        menu->addAction(QStringLiteral("Edit"), [=] { emit buffer->editRequested(messageId); });
    }
    if (!deleted && DisUtils::userCanDeleteMessage(userId, messageId)) {
        menu->addSeparator();
        menu->addAction(QStringLiteral("Delete..."),
                        [=] { askAndDelete(buffer, userId, channelId, messageId); });
    }
    menu->popup(globalPos);
}

} // namespace DisContextMenus
