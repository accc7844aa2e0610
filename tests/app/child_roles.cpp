// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "child_roles.h"

#include "chat_window.h"
#include "global_events.h"
#include "i_nak_service.h"
#include "nak_application.h"
#include "startup.h"
#include "text_notif.h"

#include <QPointer>
#include <QSocketNotifier>
#include <QStyle>
#include <QThreadPool>
#include <QTimer>

#include <unistd.h>

#include <cstdio>
#include <map>
#include <string>

namespace {

void say(QString const& text)
{
    std::fputs((text + QLatin1Char('\n')).toUtf8().constData(), stdout);
    std::fflush(stdout);
}

void say(char const* text)
{
    say(QString::fromLatin1(text));
}

class FakeService : public QObject, public INakService {
    Q_OBJECT
    Q_INTERFACES(INakService)
public:
    explicit FakeService(bool hangs)
        : m_hangs(hangs)
    {
    }
    ~FakeService() override { say("service is gone"); }

    void deinit() override
    {
        say("service goes down");
        if (!m_hangs)
            deleteLater();
    }

private:
    bool const m_hangs;
};

// main(), with something done between the application's making and its event loop.
template <typename Function> int runApplication(Function&& prepare)
{
    int argc = 1;
    char name[] = "nakwire";
    char* argv[] = { name, nullptr };
    NakStartup::setApplicationNames();
    NakStartup::setEnvironment();
    NakStartup::setApplicationAttributes();
    QString const style = NakStartup::chooseStyle(NakStartup::loadThemeColors());
    int status = 0;
    {
        NakApplication app(style, argc, argv);
        prepare(app);
        status = QApplication::exec();
        say("loop has ended");
    }
    say("application is gone");
    return status;
}

int printStyle()
{
    return runApplication([](NakApplication& app) {
        say(QString::fromLatin1(QApplication::style()->metaObject()->className()));
        QTimer::singleShot(0, &app, &NakApplication::beginQuit);
    });
}

// A window with one of its own below it, and one of another kind: all go before the service.
int quitWithWindows(bool hangingService)
{
    return runApplication([hangingService](NakApplication& app) {
        app.addService(new FakeService(hangingService));
        app.showFirstWindow();
        QPointer<QWidget> const window = NakChatWindow::chatWindows().at(0);
        auto* child = new QWidget(window, Qt::Window);
        auto* other = new QWidget;
        child->show();
        other->show();
        QObject::connect(window, &QObject::destroyed, [] { say("window is gone"); });
        QObject::connect(child, &QObject::destroyed, [] { say("its child is gone"); });
        QObject::connect(other, &QObject::destroyed, [] { say("other window is gone"); });
        QTimer::singleShot(0, &app, [&app] {
            app.beginQuit();
            say(app.didBeginQuit() ? "quit has begun" : "quit has not begun");
            app.beginQuit(); // idle
        });
    });
}

// Works the tray by commands from standard input, one character each.
class TrayUser : public QObject {
    Q_OBJECT
public:
    TrayUser()
    {
        m_notif.setText(QStringLiteral("text"));
        connect(&m_notif, &NakTextNotif::trayMessageClicked, [] { say("message clicked"); });
        connect(&m_input, &QSocketNotifier::activated, this, &TrayUser::obey);
        startTimer(10);
    }

protected:
    // Nothing tells of what this depends on.
    void timerEvent(QTimerEvent*) override
    {
        QString const wanted = NakNotifItem::shouldCreateTrayMessages()
            ? QStringLiteral("messages: yes")
            : QStringLiteral("messages: no");
        if (std::exchange(m_wanted, wanted) != wanted)
            say(wanted);
    }

private:
    void obey()
    {
        char command = 'q';
        if (read(STDIN_FILENO, &command, 1) != 1)
            m_input.setEnabled(false);
        if (command == 'm') { // a message
            m_notif.setEnabled(true);
            m_notif.showTrayMessage(QStringLiteral("Ann"), QStringLiteral("<b>there?"), QIcon());
        } else if (command == 'w') {
            m_notif.setEnabled(false); // withdrawn
        } else if (command == 'i') { // iconify
            for (NakChatWindow* window : NakChatWindow::chatWindows())
                window->setWindowState(Qt::WindowMinimized);
        } else if (command == 'p') {
            g_globalEvents->addAccountConnectionProblem(QString());
        } else if (command == 'q') {
            static_cast<NakApplication*>(qApp)->beginQuit();
        }
    }

    NakTextNotif m_notif;
    QSocketNotifier m_input{ STDIN_FILENO, QSocketNotifier::Read };
    QString m_wanted;
};

int useTray()
{
    return runApplication([](NakApplication& app) {
        (new TrayUser)->setParent(&app);
        app.showFirstWindow();
    });
}

} // namespace

int runChildRole(char const* role)
{
    static std::map<std::string, int (*)()> const roles{
        { "print-style", printStyle },
        { "good-service", [] { return quitWithWindows(false); } },
        { "hanging-service", [] { return quitWithWindows(true); } },
        { "tray", useTray },
    };
    auto const it = roles.find(role);
    return it == roles.end() ? 99 : it->second();
}

#include "child_roles.moc"
