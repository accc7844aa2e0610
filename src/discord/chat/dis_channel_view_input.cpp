// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_chan_buff.h"
#include "dis_channel_view.h"
#include "dis_channel_view_p.h"
#include "dis_chat_input_rewrite.h"
#include "dis_chat_input_text_edit.h"
#include "dis_client.h"
#include "dis_manager.h"
#include "dis_utils.h"
#include "preferences.h"

#include <QMessageBox>

void DisChannelView::submitMessage(QString const& text)
{
    m_priv->typingTimer.stop();
    FlakeId const channel = m_priv->channelId;
    FlakeId const user = g_disClient->hack_getDefaultUserId();
    if (!channel.isValid() || !user.isValid()) {
        return;
    }
    QString const wire = DisUtils::parseChatInputAsUserInChannel(user, channel, text);
    int const codePoints = DisChatInputTextEdit::countCodePoints(wire);
    if (codePoints > maxMessageLength) {
        showTooLongBox(codePoints);
        return;
    }
    if (!m_priv->editedMessageId.isValid()) {
        g_disClient->sendMessageAsUser(user, channel, wire);
    } else {
        if (text != m_priv->editedText) {
            g_disClient->editMessageAsUser(channel, m_priv->editedMessageId, user, wire);
        }
        cancelQuickEditMode();
        return;
    }
    m_priv->input->clear();
    m_priv->typingTimer.stop();
}

void DisChannelView::showTooLongBox(int codePoints)
{
    auto* box = new QMessageBox(this);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setModal(false);
    box->setTextFormat(Qt::PlainText);
    box->setIcon(QMessageBox::Information);
    box->setText(
        QStringLiteral("Messages are limited to %1 characters. This message is %2 characters.")
            .arg(maxMessageLength)
            .arg(codePoints));
    box->show();
}

// --- editing of a sent message ---

void DisChannelView::beginEditOfNewestOwnMessage()
{
    FlakeId const user = g_disClient->hack_getDefaultUserId();
    if (m_priv->editedMessageId.isValid() || !user.isValid() || !m_priv->channelId.isValid()) {
        return;
    }
    beginEdit(DisUtils::findMostRecentMessageSentByUserInChannel(user, m_priv->channelId));
}

void DisChannelView::beginEdit(FlakeId messageId)
{
    FlakeId const user = g_disClient->hack_getDefaultUserId();
    if (!messageId.isValid() || !user.isValid() || !m_priv->input->isEnabled()) {
        return;
    }
    keepUnsentText();
    m_priv->editedMessageId = messageId;
    m_priv->input->setPlainText(
        DisUtils::reverseChatParseAsUser(user, DisUtils::contentOfMessage(messageId)));
    m_priv->editedText = m_priv->input->toPlainText();
    m_priv->input->moveCursor(QTextCursor::End);
    m_priv->input->setVisualHintMode(DisChatInputTextEdit::VisualHintMode::EditingMessage);
    m_priv->input->setFocus();
    m_priv->buffer->setHighlightedMessage({ DisBuffHighlightType::Editing, messageId });
    // Only what is typed is told to others.
    m_priv->typingTimer.stop();
}

void DisChannelView::cancelQuickEditMode()
{
    if (!m_priv->editedMessageId.isValid()) {
        return;
    }
    m_priv->editedMessageId = FlakeId();
    m_priv->editedText.clear();
    m_priv->buffer->clearHighlightedMessage();
    m_priv->input->setVisualHintMode(DisChatInputTextEdit::VisualHintMode::Normal);
    m_priv->input->clear();
    takeUnsentText();
}

// What is typed for one channel is neither lost nor sent to another.
void DisChannelView::keepUnsentText()
{
    if (m_priv->editedMessageId.isValid() || m_priv->input->document()->isEmpty()) {
        return; // what stood there before the edit is kept already
    }
    if (m_priv->channelId.isValid()) {
        g_disManager->keepUnsentText(m_priv->channelId, m_priv->input->toPlainText());
    }
    m_priv->input->clear();
}

void DisChannelView::takeUnsentText()
{
    QString const text =
        m_priv->input->isEnabled() ? g_disManager->takeUnsentText(m_priv->channelId) : QString();
    if (!text.isEmpty()) {
        m_priv->input->setPlainText(text);
        m_priv->input->moveCursor(QTextCursor::End);
    }
    m_priv->typingTimer.stop(); // only what is typed is told to others
}

// --- the rest of what is typed ---

void DisChannelView::sendTypingNotice()
{
    FlakeId const user = g_disManager->activeUserId();
    if (g_preferences->sendTypingIndicators && m_priv->channelId.isValid() && user.isValid()
        && !m_priv->input->document()->isEmpty()) {
        g_disClient->sendTyping(user, m_priv->channelId);
    }
}

void DisChannelView::scrollByKey(int key)
{
    switch (key) {
    case Qt::Key_PageUp:
        m_priv->buffer->scrollPageUp();
        break;
    case Qt::Key_PageDown:
        m_priv->buffer->scrollPageDown();
        break;
    default:
        m_priv->buffer->scrollEnd();
        break;
    }
}
