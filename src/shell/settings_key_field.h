// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Holds one key with its modifiers, the next one pressed while it has the focus. Backspace and
// Delete clear it; Tab, Return and Escape do what they do everywhere in the window.
// User-interface thread.

#include <QLineEdit>

class NakSettingsKeyField : public QLineEdit {
    Q_OBJECT
public:
    explicit NakSettingsKeyField(QWidget* parent);

    // In QKeySequence's portable text, of which the first key counts; emits nothing.
    void setKey(QString const& portable);

    QSize sizeHint() const override;

signals:
    void keyChosen(QString const& portable); // by the user; empty: none

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void choose(QString const& portable);

    QAction* m_clear;
};
