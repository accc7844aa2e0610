// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What happens before the application object exists, in the order in which main() calls it.

#include "app_theme.h"

#include <QString>
#include <QStringList>

namespace NakStartup {

// Drops what only alarms people and passes the rest on.
void installQtMessageHandler();
// Whether the message is dropped. *startTimerSeen belongs to the caller and starts false.
bool dropsQtMessage(QString const& message, bool* startTimerSeen);

// The whole command line is --version; returns the exit status. Nothing is made on disk.
int runCommandLine(int argc, char const* const* argv);

void configureAllocator(); // before large blocks are freed
void initSodium(); // or the process ends
void registerMetaTypes();
void setApplicationNames();

// Of the settings, else of the default theme. The style needs them before the application exists.
NakAppTheme::ThemeColors loadThemeColors();

void configureSqlite();
void setEnvironment();
// Once a window is on screen, and the toolkit has read what it reads: a browser that is started
// from here must not go without OpenGL.
void clearEnvironment();
void setApplicationAttributes();

// Sets up the style that the user asked for by NAKWIRE_STYLE_ENGINE. Returns its name, empty for
// the built-in style, which takes the colours.
QString chooseStyle(NakAppTheme::ThemeColors const& colors);

struct StyleChoice {
    QString name; // empty: the built-in style
    bool unknown = false; // something was asked for that does not exist
};
StyleChoice chooseStyleEngine(QString const& wanted, QStringList const& available);

} // namespace NakStartup
