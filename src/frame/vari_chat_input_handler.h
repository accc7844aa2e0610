// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Grows a chat input box with its text, from one line to five; beyond that the box scrolls. Both
// services' inputs use it. User-interface thread only.

#include <QObject>
#include <QTimer>

class QPlainTextEdit;

class VariChatInputHandler : public QObject {
    Q_OBJECT
public:
    // The handler belongs to the edit.
    explicit VariChatInputHandler(QPlainTextEdit* edit);
    ~VariChatInputHandler() override;

    static constexpr int maxLines = 5;

    // Pixels: the height of a line, and what the box needs beside its lines.
    void setMetrics(int lineHeight, int extra);
    // Now, instead of in a moment.
    void updateHeight();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    int countLines() const;
    void giveRestToOthers(int height);

    QPlainTextEdit* m_edit;
    QTimer m_timer;
    int m_lineHeight = 1;
    int m_extra = 0;
    int m_lastWidth = -1;
};
