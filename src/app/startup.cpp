// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "startup.h"

#include "flake_id.h"
#include "nakwire_style.h"
#include "settings_file.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDebug>
#include <QPalette>
#include <QStyleFactory>

#include <malloc.h>
#include <sodium.h>
#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>

namespace {

QtMessageHandler defaultQtMsgHandler = nullptr;

bool s_setGlIntegration = false;

void nakQtMsgHandler(QtMsgType type, QMessageLogContext const& context, QString const& message)
{
    static bool startTimerSeen = false;
    if (!NakStartup::dropsQtMessage(message, &startTimerSeen))
        defaultQtMsgHandler(type, context, message);
}

// SQLite's own log goes nowhere: it tells of each rebuilt cache as if something had broken.
void sqliteErrorLogCallback(void* /*context*/, int /*code*/, char const* /*message*/) { }

} // namespace

void NakStartup::installQtMessageHandler()
{
    defaultQtMsgHandler = qInstallMessageHandler(nakQtMsgHandler);
}

bool NakStartup::dropsQtMessage(QString const& message, bool* startTimerSeen)
{
    if (message.startsWith(QLatin1String("libpng")))
        return true;
    // One such message is known and harmless; any further one points at a real fault.
    if (message.startsWith(QLatin1String("QObject::startTimer:")) && !*startTimerSeen) {
        *startTimerSeen = true;
        return true;
    }
    return false;
}

int NakStartup::runCommandLine(int argc, char const* const* argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    QCommandLineParser parser;
    QString const version = QStringLiteral("version");
    parser.addOption(QCommandLineOption(version));
    if (parser.parse(arguments) && parser.isSet(version)) {
        std::fputs("Nakwire " NAKWIRE_VERSION "\n", stdout);
        return std::fflush(stdout) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    qWarning() << "Unrecognized command line argument:" << arguments.at(1);
    return EXIT_FAILURE;
}

// Once a large block was freed, the allocator would from then on take blocks of that size from the
// threads' arenas, and keep up to twice as much of each when all is freed. Setting the value that
// it starts with turns that off.
void NakStartup::configureAllocator()
{
    constexpr int keptAtMost = 128 * 1024; // bytes
    mallopt(M_TRIM_THRESHOLD, keptAtMost);
}

void NakStartup::initSodium()
{
    if (sodium_init() == -1)
        std::abort();
}

void NakStartup::registerMetaTypes()
{
    qRegisterMetaType<FlakeId>("FlakeId");
}

void NakStartup::setApplicationNames()
{
    QCoreApplication::setApplicationName(QStringLiteral("Nakwire"));
    QGuiApplication::setApplicationDisplayName(QString());
    QGuiApplication::setDesktopFileName(QStringLiteral("nakwire")); // as it is installed
}

NakAppTheme::ThemeColors NakStartup::loadThemeColors()
{
    if (NakSettingsFile::settingsFileExists())
        return NakAppTheme::settingsToThemeColors(NakSettingsFile());
    return NakAppTheme::namedThemeColors(NakAppTheme::Carbon);
}

void NakStartup::configureSqlite()
{
    sqlite3_config(SQLITE_CONFIG_SERIALIZED);
    sqlite3_config(SQLITE_CONFIG_LOG, sqliteErrorLogCallback, nullptr);
}

void NakStartup::setEnvironment()
{
    // No polling of the network interfaces.
    qputenv("QT_BEARER_POLL_TIMEOUT", "-1");
    // Nothing here draws with OpenGL, whose libraries the platform plugin would load all the same:
    // more than half of the start's instructions and of the memory.
    s_setGlIntegration = !qEnvironmentVariableIsSet("QT_XCB_GL_INTEGRATION");
    if (s_setGlIntegration)
        qputenv("QT_XCB_GL_INTEGRATION", "none");
}

void NakStartup::clearEnvironment()
{
    if (s_setGlIntegration)
        qunsetenv("QT_XCB_GL_INTEGRATION");
}

void NakStartup::setApplicationAttributes()
{
    QGuiApplication::setLayoutDirection(Qt::LeftToRight); // fixed, whatever the locale
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QCoreApplication::setAttribute(Qt::AA_Use96Dpi);
}

NakStartup::StyleChoice NakStartup::chooseStyleEngine(QString const& wanted,
                                                      QStringList const& available)
{
    if (wanted.isEmpty() || wanted.compare(QLatin1String("nakwire"), Qt::CaseInsensitive) == 0)
        return {};
    for (QString const& key : available) {
        if (key.compare(wanted, Qt::CaseInsensitive) == 0)
            return { key, false };
    }
    return { QString(), true };
}

QString NakStartup::chooseStyle(NakAppTheme::ThemeColors const& colors)
{
    qunsetenv("QT_STYLE_OVERRIDE");
    QString const wanted = qEnvironmentVariable("NAKWIRE_STYLE_ENGINE");
    QStringList const available = wanted.isEmpty() ? QStringList() : QStyleFactory::keys();
    StyleChoice const choice = chooseStyleEngine(wanted, available);
    if (choice.unknown) {
        qWarning()
            << "Custom style engine" << wanted
            << "specified, but was unable to be constructed via QStyleFactory. Defaulting to "
               "Nakwire.";
        qWarning() << "Available QStyle engines on this system:" << available;
    }
    if (!choice.name.isEmpty()) {
        qputenv("QT_STYLE_OVERRIDE", choice.name.toLocal8Bit());
        return choice.name;
    }
    NakAppTheme::setGlobalThemeColors(colors);
    // Before the application exists the toolkit does not ask the style to complete the palette.
    QPalette palette = NakAppTheme::themeColorsToPalette(colors);
    auto* const style = new NakwireStyle;
    style->polish(palette);
    QApplication::setPalette(palette);
    QApplication::setStyle(style);
    return QString();
}
