// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "nak_application.h"

#include "accts_view.h"
#include "app_look.h"
#include "app_theme.h"
#include "audio_devices.h"
#include "boxes.h"
#include "builtin_jump_provider.h"
#include "chat_window.h"
#include "data_paths.h"
#include "deployment.h"
#include "dis_service_plugin.h"
#include "event_log.h"
#include "fatal_box.h"
#include "global_events.h"
#include "gui_icons.h"
#include "i_nak_service.h"
#include "idle_detection.h"
#include "jump_manager.h"
#include "local_crypto.h"
#include "nak_event_log.h"
#include "nak_sql.h"
#include "network_access.h"
#include "notif_manager.h"
#include "notifs_view.h"
#include "preferences.h"
#include "request_pool.h"
#include "saved_data.h"
#include "settings_file.h"
#include "shell_host.h"
#include "startup.h"
#include "tab_contents.h"
#include "unix_signals.h"
#include "web_images.h"
#include "window_host.h"

#include <QBasicTimer>
#include <QDir>
#include <QDrag>
#include <QLibrary>
#include <QLockFile>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QSet>
#include <QThread>
#include <QThreadPool>
#include <QTimer>
#include <QTimerEvent>

#include <cstdlib>

namespace {

constexpr int quitDeadlineMSecs = 1000;
constexpr int lastWindowDelayMSecs = 10;
constexpr int firstWindowDelayMSecs = 10;
constexpr int lockWaitMSecs = 300;
constexpr int forcedLockWaitMSecs = 1000;
constexpr int failureCheckMSecs = 50;

// What the windows ask of the application.
class ShellHost : public IShellHost {
public:
    explicit ShellHost(NakApplication* app)
        : m_app(app)
    {
    }

    void hack_chatWindowShown() override { m_app->hack_chatWindowShown(); }
    void chatWindowClosed() override { m_app->on_lastWindowClosed(); }
    void beginQuit() override { m_app->beginQuit(); }
    bool didBeginQuit() const override { return m_app->didBeginQuit(); }

private:
    NakApplication* m_app;
};

// The process has made nothing yet, or has kept what is the user's; threads are running, so nothing
// is torn down under them.
[[noreturn]] void leaveAtOnce()
{
    std::_Exit(EXIT_FAILURE);
}

QWidget* makeBuiltinContent(NakNavLoc const& place, QWidget* parent)
{
    if (place.builtinView() == NakNav::BuiltinView::Type::Notifications)
        return new NakNotifsView(parent);
    return new NakAcctsView(parent);
}

// Sends away the box, the menu or the drag whose caller stands on the stack and waits for its
// answer, with objects of his own there. False when nobody waits.
bool cancelWaiting()
{
    if (QThread::currentThread()->loopLevel() < 2)
        return false;
    QDrag::cancel();
    QWidget* const popup = QApplication::activePopupWidget();
    if (QWidget* const waiting = popup ? popup : QApplication::activeModalWidget())
        waiting->close();
    return true;
}

// A window may take others with it.
void deleteWindows()
{
    QList<QPointer<QWidget>> windows;
    QWidgetList const topLevels = QApplication::topLevelWidgets();
    for (QWidget* window : topLevels)
        windows.append(window);
    for (QPointer<QWidget> const& window : qAsConst(windows)) {
        if (qobject_cast<NakChatWindow*>(window))
            delete window;
    }
    for (QPointer<QWidget> const& window : qAsConst(windows))
        delete window;
}

template <typename T> void deleteGlobal(T*& global)
{
    delete global;
    global = nullptr;
}

} // namespace

struct NakApplicationPriv {
    explicit NakApplicationPriv(NakApplication* app)
        : shellHost(app)
    {
    }

    QTimer* quitTimer = nullptr; // exists once the quit has begun
    QSet<QObject*> services; // the plugins still alive
    QBasicTimer lastWindowTimer;
    bool chatWindowShown = false;

    std::unique_ptr<QLockFile> lockFile;
    NakDeployment deployment;
    AppLook look;
    ShellHost shellHost;
    NakWindowHost windowHost;
    std::unique_ptr<NakBuiltinJumpProvider> builtinJumpProvider;
};

NakApplication::NakApplication(QString const& foreignStyle, int& argc, char** argv, int flags)
    : QApplication(argc, argv, flags)
    , d(std::make_unique<NakApplicationPriv>(this))
{
    NakFatalBox::setShow(NakBoxes::showFatal);
    if (!foreignStyle.isEmpty())
        deriveThemeFromPalette();
    d->look.start(!foreignStyle.isEmpty());
    // A blinking caret alone would wake the idle program twenty times in ten seconds.
    setCursorFlashTime(0);
    setOrganizationName(QString());
    setOrganizationDomain(QString());
    probeOpenSsl();
    QThreadPool* pool = QThreadPool::globalInstance();
    pool->setMaxThreadCount(
        NakApplicationImpl::cappedThreadCount(QThread::idealThreadCount(), pool->maxThreadCount()));
    takeLockFile();
    NakLocalCrypto::init();
    NakEvLog::init();
    loadDeploymentConstants();
    g_globalEvents = new NakGlobalEvents(this);
    g_networkRequestPool = new NakRequestPool(
        NakDataPaths::appDataPathCreated() + QDir::separator() + QLatin1String("webcache"), this);
    loadPreferences();
    createOtherSingletons();
    applyProxy();
    addService(new DisServicePlugin(this));
    connectQuitting();
}

NakApplication::~NakApplication()
{
    delete d->quitTimer;
    // The user is gone: a store that fails now, each of them a cache, must not ask for an answer.
    NakFatalBox::setShow([](NakFatalBox::Message const&) { leaveAtOnce(); });
    // The deadline has passed without them.
    QSet<QObject*> const leftServices = std::exchange(d->services, {});
    for (QObject* plugin : leftServices) {
        disconnect(plugin, nullptr, this, nullptr);
        delete plugin;
    }
    deleteGlobal(g_savedData);
    deleteGlobal(g_idleDetection);
    deleteGlobal(g_audioDevices);
    d->builtinJumpProvider.reset();
    deleteGlobal(NakJump::g_nakJumpManager);
    NakNotif::destroyGlobalData();
    NakGo::setWindowHost(nullptr);
    NakShell::setHost(nullptr);
    deleteGlobal(g_webImages);
    deleteGlobal(g_guiIcons);
    deleteGlobal(g_preferences);
    deleteGlobal(g_networkRequestPool);
    deleteGlobal(g_networkAccessManager);
    deleteGlobal(g_globalEvents);
    while (!QThreadPool::globalInstance()->waitForDone(failureCheckMSecs))
        NakSql::showFailureOfWorker();
    g_deployment = nullptr;
    // The log is the last to stop, so that everything above can still log.
    NakEvLog::deinit();
    NakLocalCrypto::deinit();
    NakFatalBox::setShow(nullptr);
    d->lockFile->unlock();
}

void NakApplication::showFirstWindow()
{
    NakChatWindow* const window = NakChatWindow::createInitialChatWindow();
    window->show();
    // A new user lands on the accounts. Who has tabs to come back to and an account that connects
    // by itself comes back to them.
    if (window->tabbedWidgetCount() == 0 || !DisServicePlugin::anyAccountConnectsByItself())
        window->openAccountsTab();
}

// --- the constructor's steps ---

void NakApplication::deriveThemeFromPalette()
{
    NakAppTheme::setGlobalThemeColors(NakAppTheme::paletteToDerivedThemeColors(palette()));
}

// Only the packaging that pins this version of the toolkit brings its own libraries; they stay
// loaded.
void NakApplication::probeOpenSsl()
{
    if (qstrcmp(qVersion(), "5.9.7") != 0)
        return;
    QString const version = QStringLiteral("1.0.0");
    bool const cryptoFound = QLibrary(QStringLiteral("crypto"), version).load();
    bool const sslFound = QLibrary(QStringLiteral("ssl"), version).load();
    if (!cryptoFound || !sslFound)
        NakBoxes::tellOpenSslIsMissing(cryptoFound, sslFound);
}

void NakApplication::takeLockFile()
{
    QString const path = NakDataPaths::appDataPathCreated() + QLatin1String("/nakwire.lockfile");
    d->lockFile = std::make_unique<QLockFile>(path);
    d->lockFile->setStaleLockTime(0); // a program may run for weeks
    if (d->lockFile->tryLock(lockWaitMSecs)) {
        NakSettingsFileImpl::removeLeftovers();
        return;
    }
    if (!NakBoxes::askToForceStart(path))
        leaveAtOnce();
    d->lockFile->removeStaleLockFile();
    if (!d->lockFile->tryLock(forcedLockWaitMSecs) && !NakBoxes::askToIgnoreLockFailure())
        leaveAtOnce();
}

void NakApplication::loadDeploymentConstants()
{
    g_deployment = &d->deployment;
    QString const path = qEnvironmentVariable("NAKWIRE_DEPLOYMENT");
    if (path.isEmpty()) {
        d->deployment = publicDeployment();
        return;
    }
    bool readOk = false;
    d->deployment = loadDeployment(path, &readOk);
    EvLogGlobal::addLogEvent(
        EvLog::Category::Application, EvLog::Severity::Warn,
        (readOk ? tr("Hosts and addresses are replaced by the deployment file %1")
                : tr("The deployment file %1 cannot be read; the public services are used"))
            .arg(path));
}

void NakApplication::loadPreferences()
{
    g_preferences = new NakPreferences;
    g_preferences->loadFromSettingsFile();
    d->look.show(*g_preferences);
    connect(g_globalEvents, &NakGlobalEvents::preferencesChanged, this,
            [this] { d->look.show(*g_preferences); });
}

void NakApplication::createOtherSingletons()
{
    NakShell::setHost(&d->shellHost);
    NakGo::setWindowHost(&d->windowHost);
    g_guiIcons = new NakGuiIcons(this);
    g_webImages = new NakWebImages(this);
    NakNotif::createGlobalData();
    connect(NakNotif::g_nakNotifManager, &NakNotifManager::quitRequested, this,
            &NakApplication::beginQuit);
    NakJump::g_nakJumpManager = new NakJumpManager(this);
    d->builtinJumpProvider = std::make_unique<NakBuiltinJumpProvider>();
    NakTabContents::registerFactory(NakNav::Type::Builtin, makeBuiltinContent);
    g_idleDetection = new NakIdleDetection(this);
    g_audioDevices = new NakAudioDevices(NakAudioDevices::installedModuleFile(), this);
    g_savedData = new NakSavedData(this);
    if (!g_savedData->keepsChanges())
        QTimer::singleShot(0, this, &NakApplication::tellThatNothingIsKept); // above the window
}

void NakApplication::tellThatNothingIsKept()
{
    NakBoxes::tell(tr("Bookmarks are not saved"),
                   tr("Nakwire cannot write to the file of bookmarks and other saved data: another "
                      "version of Nakwire made it, or it is damaged or write-protected. It is left "
                      "as it is. You can go on, but changes of bookmarks last only until Nakwire "
                      "quits.\n\n%1")
                       .arg(NakSavedData::dbFilePath()),
                   false);
}

void NakApplication::applyProxy()
{
    if (!g_preferences->useNetworkProxy)
        return;
    QNetworkProxy const proxy = NakSettings::tryReadProxySettings(NakSettingsFile());
    if (proxy.type() != QNetworkProxy::NoProxy && proxy.type() != QNetworkProxy::DefaultProxy)
        QNetworkProxy::setApplicationProxy(proxy);
}

void NakApplication::connectQuitting()
{
    setQuitOnLastWindowClosed(false);
    connect(this, &QGuiApplication::lastWindowClosed, this, &NakApplication::on_lastWindowClosed,
            Qt::QueuedConnection);
    auto* signalCatcher = new NakUnixSignals(this);
    connect(signalCatcher, &NakUnixSignals::quitRequested, this, &NakApplication::beginQuit);
}

// --- windows ---

void NakApplication::hack_chatWindowShown()
{
    if (d->chatWindowShown)
        return;
    d->chatWindowShown = true;
    QTimer::singleShot(firstWindowDelayMSecs, this, [this] {
        NakStartup::clearEnvironment();
        // Nothing of the network is touched before the user sees something, and making this loads
        // plugins and starts a thread.
        g_networkAccessManager = new QNetworkAccessManager(this);
        emit g_globalEvents->accountAutoOnlineBecameOk();
    });
}

void NakApplication::on_lastWindowClosed()
{
    if (!d->lastWindowTimer.isActive() && !d->quitTimer)
        d->lastWindowTimer.start(lastWindowDelayMSecs, this);
}

void NakApplication::timerEvent(QTimerEvent* event)
{
    if (event->timerId() != d->lastWindowTimer.timerId()) {
        QApplication::timerEvent(event);
        return;
    }
    d->lastWindowTimer.stop();
    bool const staysInTray =
        g_preferences->showSystemTrayIcon && g_preferences->stayRunningWithNoWindows;
    if (!staysInTray && NakChatWindow::chatWindows().isEmpty())
        beginQuit();
}

// --- quit ---

void NakApplication::beginQuit()
{
    if (didBeginQuit())
        return;
    d->lastWindowTimer.stop();
    d->quitTimer = new QTimer(this);
    d->quitTimer->setSingleShot(true);
    connect(d->quitTimer, &QTimer::timeout, this, &QCoreApplication::quit);
    d->quitTimer->start(quitDeadlineMSecs);
    QTimer::singleShot(0, this, &NakApplication::takeDownWindowsAndServices);
}

bool NakApplication::didBeginQuit() const
{
    return d->quitTimer || closingDown();
}

void NakApplication::takeDownWindowsAndServices()
{
    if (cancelWaiting()) {
        QTimer::singleShot(0, this, &NakApplication::takeDownWindowsAndServices);
        return;
    }
    NakNotif::g_nakNotifManager->hideTrayIcon();
    // Windows that a quit takes down get no close event.
    if (NakChatWindow const* const window = NakGo::mostViableWindow())
        window->storePlacement();
    deleteWindows();
    QSet<QObject*> const services = d->services;
    for (QObject* plugin : services) {
        if (INakService* service = NakApplicationImpl::asServiceChecked(plugin))
            service->deinit();
    }
}

void NakApplication::addService(QObject* plugin)
{
    connect(plugin, &QObject::destroyed, this, &NakApplication::removeService);
    d->services.insert(plugin);
}

void NakApplication::removeService(QObject* plugin)
{
    d->services.remove(plugin);
    if (d->services.isEmpty() && d->quitTimer && d->quitTimer->isActive()) {
        d->quitTimer->stop();
        quit();
    }
}

INakService* NakApplicationImpl::asServiceChecked(QObject* plugin)
{
    if (!plugin)
        return nullptr;
    return static_cast<INakService*>(plugin->qt_metacast(qobject_interface_iid<INakService*>()));
}

int NakApplicationImpl::cappedThreadCount(int idealThreadCount, int poolMaximum)
{
    if (idealThreadCount < 1 || poolMaximum < 1)
        return poolMaximum;
    int limit = 6;
    if (idealThreadCount < 3)
        limit = 1;
    else if (idealThreadCount < 4)
        limit = 2;
    else if (idealThreadCount < 12)
        limit = idealThreadCount / 2;
    return qMin(limit, poolMaximum);
}
