// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What a user does with widgets, and reads on them. Texts are given without the marks of mnemonics.

#include <QAbstractButton>
#include <QAction>
#include <QKeySequence>
#include <QTest>

// Presses and releases up to four keys one after the other: "Ctrl+Shift+Backtab", "Home, Return".
inline void pressKeys(QWidget* widget, char const* keys)
{
    QKeySequence const sequence(QLatin1String{ keys });
    for (int i = 0; i < sequence.count(); ++i) {
        constexpr int modifiers = static_cast<int>(Qt::KeyboardModifierMask);
        QTest::keyClick(widget, static_cast<Qt::Key>(sequence[uint(i)] & ~modifiers),
                        static_cast<Qt::KeyboardModifiers>(sequence[uint(i)] & modifiers));
    }
}

// The one of those below the parent with that text; null if there is none.
template <typename Widget> Widget* findByText(QObject const* parent, char const* text)
{
    for (Widget* one : parent->findChildren<Widget*>()) {
        if (one->text().remove(QLatin1Char('&')) == QString::fromUtf8(text))
            return one;
    }
    return nullptr;
}

// False if there is no such button that is in view and enabled.
inline bool clickButton(QObject const* parent, char const* text)
{
    for (auto* button : parent->findChildren<QAbstractButton*>()) {
        if (button->isVisible() && button->isEnabled()
            && button->text().remove(QLatin1Char('&')) == QString::fromUtf8(text)) {
            button->click();
            return true;
        }
    }
    return false;
}

// A menu's entries: "-" between groups, in brackets what cannot be chosen, a star behind what is.
inline std::string textsOf(QList<QAction*> const& actions)
{
    QStringList texts;
    for (QAction const* action : actions) {
        QString text = action->isSeparator() ? QStringLiteral("-") : action->text();
        text += action->isChecked() ? QStringLiteral("*") : QString();
        texts << (action->isEnabled() ? text : QLatin1Char('(') + text + QLatin1Char(')'));
    }
    return texts.join(QLatin1Char('|')).toStdString();
}
