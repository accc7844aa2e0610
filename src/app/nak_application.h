// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The application object: it takes the lock file, makes and destroys the singletons and the service
// plugins, and leads the way out. Made by main() after everything in startup.h. User-interface
// thread.
//
// Its states: constructing, running with windows, running without any (only where the user wants
// that, with the tray icon), quitting, done. Quitting never goes back.

#include <QApplication>

#include <memory>

class INakService;
class QTimer;
struct NakApplicationPriv;

class NakApplication : public QApplication {
    Q_OBJECT
public:
    // foreignStyle: as chosen by NakStartup. Ends the process when another one is running and the
    // user does not insist, or when there is no event log.
    NakApplication(QString const& foreignStyle, int& argc, char** argv,
                   int flags = ApplicationFlags);
    ~NakApplication() override;

    void showFirstWindow();

    // Called when a chat window comes on screen. After the first one, accounts may connect by
    // themselves: no network work begins before the user sees something.
    void hack_chatWindowShown();

    // A chat window is gone, or the last window of all: quits soon if none is left and the user
    // does not want the program to stay.
    void on_lastWindowClosed();

    // Begins the orderly quit; idle once it has begun. The process leaves as soon as the services
    // have gone down, and after one second whether they have or not.
    void beginQuit();
    bool didBeginQuit() const;

    // Takes the plugin, which is an INakService too, as one more that the quit waits for.
    void addService(QObject* plugin);

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    // The constructor's steps, in order.
    void deriveThemeFromPalette();
    void probeOpenSsl();
    void takeLockFile();
    void loadDeploymentConstants();
    void loadPreferences();
    void createOtherSingletons();
    void tellThatNothingIsKept();
    void applyProxy();
    void connectQuitting();

    void takeDownWindowsAndServices();
    void removeService(QObject* plugin);

    std::unique_ptr<NakApplicationPriv> d;
};

namespace NakApplicationImpl {

// Null for a null object and for one that is no service.
INakService* asServiceChecked(QObject* plugin);

// What the global pool's maximum becomes, so that background work leaves cores to the user
// interface and to audio. Never more than it is.
int cappedThreadCount(int idealThreadCount, int poolMaximum);

} // namespace NakApplicationImpl
