// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The input box of a channel: plain text, and the rules of what a key does. User-interface thread
// only.

#include <QPlainTextEdit>
#include <QString>

class DisChatInputTextEdit : public QPlainTextEdit {
    Q_OBJECT
public:
    enum class VisualHintMode : int { Normal = 0, EditingMessage = 1 };

    explicit DisChatInputTextEdit(QWidget* parent = nullptr);
    ~DisChatInputTextEdit() override;

    VisualHintMode visualHintMode() const { return m_hintMode; }
    void setVisualHintMode(VisualHintMode mode);

    // Stands in the box while it is empty. Qt's own placeholder never shows in a document whose
    // margin was changed.
    QString hintText() const { return m_hintText; }
    void setHintText(QString const& text);

    // Within a fenced block that is not closed before the cursor, Enter makes a new line.
    bool fenceAwareEnter() const { return m_fenceAwareEnter; }
    void setFenceAwareEnter(bool on) { m_fenceAwareEnter = on; }

    // Whether text ends within an open fence. A fence behind a backslash is none.
    static bool endsInsideFence(QString const& text);
    // As the service counts: a character outside the basic plane is one.
    static int countCodePoints(QString const& text);

signals:
    void messageSubmitted(QString const& text);
    void pressedUpWithNoContent();
    void pressedEscape();
    // Page Up, Page Down or End with nothing to move in here.
    void scrollKeyPressed(int key);
    void pressedCopyWithNoSelection();

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    bool handleKey(QKeyEvent* event);
    bool handleEnter(QKeyEvent* event);
    bool isEmptyDocument() const;
    QString textToCursor() const;
    void updateHintColors();

    QString m_hintText;
    VisualHintMode m_hintMode = VisualHintMode::Normal;
    bool m_fenceAwareEnter = false;
    bool m_updatingColors = false;
};
