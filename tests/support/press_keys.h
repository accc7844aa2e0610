// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

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
