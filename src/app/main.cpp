// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "app_updates.h"
#include "nak_application.h"
#include "startup.h"

int main(int argc, char** argv)
{
    NakStartup::installQtMessageHandler();
    if (argc > 1)
        return NakStartup::runCommandLine(argc, argv);
    NakStartup::configureAllocator();
    NakStartup::initSodium();
    NakStartup::registerMetaTypes();
    NakStartup::setApplicationNames();
    NakAppTheme::ThemeColors const colors = NakStartup::loadThemeColors();
    NakStartup::configureSqlite();
    NakStartup::setEnvironment();
    NakStartup::setApplicationAttributes();
    NakAppUpdates::readEnvironment();
    QString const foreignStyle = NakStartup::chooseStyle(colors);
    NakApplication app(foreignStyle, argc, argv);
    app.showFirstWindow();
    return QApplication::exec();
}
