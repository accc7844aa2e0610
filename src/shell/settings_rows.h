// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What stands on the pages of the settings dialog: each row binds one field of the preferences, and
// its type says which control it gets. NakSettingsForm makes the controls.

#include "preferences.h"

#include <QVector>

#include <variant>

namespace NakSettingsRows {

using P = NakPreferences;
using Field =
    std::variant<bool P::*, qint32 P::*, double P::*, float P::*, QString P::*, QFont P::*>;

enum class Look {
    Plain, // a check box, a spin box, a font
    Theme, // a qint32: one of the themes
    Key, // a text: one key with its modifiers
    Microphone, // a text: the name of an audio device; empty is the default one
    Speakers, // the same
    Decibels, // a float: a linear factor
    Monospace, // a font of a fixed width
};

struct Range {
    double least;
    double most;
    double step = 1;
    char const* suffix = "";
    char const* leastText = nullptr; // stands in place of the least number
};

struct Row {
    char const* label; // with its mnemonic, one of its own on each page
    Field field;
    char const* help = nullptr; // one sentence below the control
    Range range{ 0, 0 };
    Look look = Look::Plain;
    bool P::*needs = nullptr; // without it, this has no effect
};

struct Group {
    char const* title;
    QVector<Row> rows;
};

inline Row needing(bool P::*needs, Row row)
{
    row.needs = needs;
    return row;
}

QVector<Group> general();
QVector<Group> discord();
QVector<Group> fontsAndColors();
QVector<Group> audioAndVoice();

} // namespace NakSettingsRows
