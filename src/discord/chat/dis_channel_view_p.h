// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The state of DisChannelView, for its own source files only.

#include "dis_channel_view.h"
#include "dis_listen.h"

#include <QTimer>

class QAction;
class QMenu;
class QSplitter;
class VariChatInputHandler;

struct DisChannelView::Priv {
    FlakeId channelId;
    DisChanBuff* buffer = nullptr;
    DisChatInputTextEdit* input = nullptr;
    DisTopicLine* topic = nullptr;
    QSplitter* splitter = nullptr;
    VariChatInputHandler* inputHeight = nullptr;
    DisChannelListener channel;
    DisTypingUsersListener typing;
    QTimer typingTimer;

    // The message that is being edited, all ones if none, and its text when the edit began.
    FlakeId editedMessageId;
    QString editedText;

    QMenu* menu = nullptr;
    QAction* arrowTool = nullptr;
    QAction* textSelectionTool = nullptr;

    // The status line, and how it was elided for a width.
    QString statusText;
    QString elidedStatusText;
    int elidedStatusWidth = -1;
    bool statusIsVisible = false;

    bool recentHistoryAsked = false; // since the channel was set or the store was reloaded
};
