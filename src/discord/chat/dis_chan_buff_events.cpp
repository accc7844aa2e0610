// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_buff_msg_content_widget.h"
#include "dis_cache.h"
#include "dis_chan_buff.h"
#include "dis_chan_buff_p.h"
#include "dis_chat_input_rewrite.h"
#include "dis_context_menus.h"
#include "dis_manager.h"
#include "dis_utils.h"
#include "preferences.h"
#include "zil_drag_dial.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>

// --- what changes ---

void DisChanBuff::disChanges(DisChanges const& changes)
{
    if (!channelId().isValid()) {
        return;
    }
    if (changes.isReload()) {
        reloadAll();
        return;
    }
    if (m_priv->context.kind == DisBuffContext::Unknown) {
        computeContext();
    }
    using Type = DisChange::ChangeType;
    if (changes.has(Type::MessageChanged) || changes.has(Type::MessageDeleted)) {
        refreshChangedMessages(changes);
    }
    if (changes.items.size() == 1 && changes.items.first().type == Type::MessageCreated
        && changes.items.first().words[1] == channelId()) {
        receiveOwnPendingMessage(changes.items.first().words[0]);
    }
}

// The store may have been emptied, or anything in it may have changed. What is shown stays until
// there is something to show again, so that a lost connection does not empty the screen.
void DisChanBuff::reloadAll()
{
    DisBuffReads::Scope const scope(m_priv->reads);
    computeContext();
    invalidateItemCaches();
    if (m_priv->items.newestSpan().isValid()) {
        resequence(Refill::All);
    }
}

// A pending item whose record has gone is told of in the same way as a message that was edited.
void DisChanBuff::refreshChangedMessages(DisChanges const& changes)
{
    using Type = DisChange::ChangeType;
    DisBuffReads::Scope const scope(m_priv->reads);
    bool gone = false;
    for (DisChange const& change : changes.items) {
        bool const concerns =
            (change.type == Type::MessageChanged || change.type == Type::MessageDeleted)
            && change.words[1] == channelId();
        DisBuffMsgContentWidget* content = concerns ? findContent(change.words[0]) : nullptr;
        if (!content) {
            continue;
        }
        if (m_priv->items.exists(content->buffItem())) {
            setContents(content, content->buffItem());
        } else {
            gone = true;
        }
    }
    // A new height comes back through the view's layout; only a message that went changes the
    // sequence.
    if (gone) {
        resequence(Refill::Changed);
    }
}

void DisChanBuff::receiveOwnPendingMessage(FlakeId nonce)
{
    if (g_disClient->pendingMessages_hack().contains(nonce)) {
        resequence(Refill::Changed);
        return;
    }
    DisBuffMsgContentWidget const* content = findContent(nonce);
    if (content && content->buffItem().isPending()) {
        resequence(Refill::Changed);
    }
}

void DisChanBuff::receiveMessageCreated(FlakeId const& messageId, FlakeId const& channelId,
                                        FlakeId const& authorId, FlakeId const& nonce)
{
    if (channelId != m_priv->items.channelId()) {
        return;
    }
    DisBuffReads::Scope const scope(m_priv->reads);
    DisBuffMsgContentWidget* content = findContent(messageId);
    if (content) {
        setContents(content, content->buffItem());
        return;
    }
    if (m_priv->context.kind == DisBuffContext::Unknown) {
        computeContext();
    }
    if (nonce.isValid() && confirmInPlace(DisBuffItem::confirmed(messageId, authorId), nonce)) {
        return;
    }
    resequenceSoon();
}

void DisChanBuff::receiveChannelHistoryFetched(FlakeId const& channelId)
{
    if (channelId == m_priv->items.channelId()) {
        resequence(Refill::Changed);
    }
}

void DisChanBuff::ignoredUsersChanged()
{
    resequence(Refill::Changed);
}

void DisChanBuff::receivePreferencesChanged()
{
    m_priv->widgets->updateStyle();
    for (DisBuffGroup const& group : qAsConst(m_priv->groups)) {
        group.widget->updateFromPreferences();
    }
    m_priv->dial->setDragScale(g_preferences->mouseDragBufferScrollSpeed);
    m_priv->dial->setWheelScale(g_preferences->mouseWheelBufferScrollSpeed);
    m_priv->dial->preferencesChanged();
    if (!m_priv->groups.isEmpty()) {
        resequence(Refill::All);
    }
}

// --- the selected message ---

DisChanBuffHighlight DisChanBuff::highlightedMessage() const
{
    return m_priv->highlight;
}

void DisChanBuff::setHighlightedMessage(DisChanBuffHighlight highlight)
{
    m_priv->highlight = highlight;
    forEachContent([&highlight](DisBuffMsgContentWidget* content) {
        bool const marked = content->buffItem().id == highlight.messageId;
        content->setHighlight(marked ? highlight.type : DisBuffHighlightType::None);
        if (!marked) {
            content->clearTextSelection();
        }
    });
    m_priv->copyAction->setEnabled(highlight.type == DisBuffHighlightType::Selected);
}

void DisChanBuff::clearHighlightedMessage()
{
    setHighlightedMessage({});
}

QString DisChanBuff::selectedPlainText() const
{
    DisChanBuffHighlight const& highlight = m_priv->highlight;
    if (highlight.type != DisBuffHighlightType::Selected || !highlight.messageId.isValid()) {
        return {};
    }
    DisBuffMsgContentWidget const* content = findContent(highlight.messageId);
    QString selected = content ? content->selectedPlainText() : QString();
    if (!selected.isEmpty()) {
        return selected;
    }
    if (DisPendingMsg const* pending =
            m_priv->items.pendingRecord({ highlight.messageId, {}, 0, DisBuffItem::Pending })) {
        return pending->text;
    }
    FlakeId const user = g_disManager->activeUserId();
    if (m_priv->context.kind == DisBuffContext::GuildChannel
        && DisUtils::isMessageDeleted(highlight.messageId)
        && !DisUtils::userCanSeeDeletedMessagesInGuildChannel(user, channelId())) {
        return {};
    }
    return DisUtils::getCopyableText(user, highlight.messageId);
}

void DisChanBuff::copySelectedMessage()
{
    QString const text = selectedPlainText();
    if (!text.isEmpty()) {
        QGuiApplication::clipboard()->setText(text);
    }
}

void DisChanBuff::selectMessage(FlakeId messageId)
{
    setHighlightedMessage({ DisBuffHighlightType::Selected, messageId });
    emit selectionChangedByInteraction(messageId);
}

void DisChanBuff::msgAction(DisBuffMsgContentWidget* content, DisBuffMsgAction const& action)
{
    DisBuffItem const item = content->buffItem();
    bool const selected = m_priv->highlight.type == DisBuffHighlightType::Selected
        && m_priv->highlight.messageId == item.id;
    switch (action.type) {
    case DisBuffMsgAction::Type::Click:
        if (selected) {
            clearHighlightedMessage();
            emit selectionChangedByInteraction(FlakeId());
        } else {
            selectMessage(item.id);
        }
        break;
    case DisBuffMsgAction::Type::Select:
        if (!selected) {
            setHighlightedMessage({ DisBuffHighlightType::Selected, item.id });
        }
        break;
    case DisBuffMsgAction::Type::ContextMenu:
        selectMessage(item.id);
        popupMenu(item, action.globalPos);
        break;
    }
}

// --- menus ---

void DisChanBuff::popupMenu(DisBuffItem const& item, QPoint const& globalPos)
{
    if (item.isPending()) {
        popupPendingMenu(item.id, globalPos);
        return;
    }
    FlakeId const user = g_disManager->activeUserId();
    if (user.isValid()) {
        DisContextMenus::popupChannelMessageContextMenu(this, user, channelId(), item.id,
                                                        globalPos);
    }
}

void DisChanBuff::popupPendingMenu(FlakeId nonce, QPoint const& globalPos)
{
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(QStringLiteral("Cancel"), this, [this, nonce] { cancelPending(nonce); });
    menu->addAction(QStringLiteral("Resend"), this, [this, nonce] { resendPending(nonce); });
    menu->popup(globalPos);
}

void DisChanBuff::cancelPending(FlakeId nonce)
{
    auto& pending = g_disClient->pendingMessages_hack();
    auto const it = pending.constFind(nonce);
    if (it == pending.constEnd()) {
        return; // confirmed in the meantime
    }
    FlakeId const channel = it->channelId;
    pending.remove(nonce);
    DisChanges changes;
    changes.add(DisChange::ChangeType::MessageChanged, nonce, channel);
    g_disClient->postLocalChanges(changes);
}

void DisChanBuff::resendPending(FlakeId nonce)
{
    auto const& pending = g_disClient->pendingMessages_hack();
    if (!pending.contains(nonce)) {
        return;
    }
    DisPendingMsg const record = pending.value(nonce);
    cancelPending(nonce);
    g_disClient->sendMessageAsUser(record.authorId, record.channelId, record.text);
}
