// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What stands where there is nothing to show: two calm lines in the middle.

#include <QString>

class QWidget;

struct NakEmptyHint {
    QString title;
    QString detail;
};

// Over all of widget, from its paint event.
void paintEmptyHint(QWidget* widget, NakEmptyHint const& hint);
