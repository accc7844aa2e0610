// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// nakwire-stage: the stand-in service as a program, with scripted life and faults on request.

#include "stage.h"
#include "stage_deploy.h"
#include "stage_life.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDateTime>
#include <QRandomGenerator>
#include <QSocketNotifier>
#include <QTimer>

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace {

struct ProgramOptions {
    stage::StageOptions stage;
    stage::LifeOptions life;
    bool onlyBusyChannel = false;
    std::vector<stage::Fault> faults;
    int faultSeconds = 20;
    int seconds = 0; // 0 runs until a signal
    qint64 parentPid = 0;
    QString deploymentFile;
    QString dataHome;
};

struct OptionText {
    char const* name;
    char const* value;
    char const* help;
};
constexpr OptionText kOptions[] = {
    { "guilds", "N", "Number of guilds (3)." },
    { "channels", "N", "Text channels per guild (12)." },
    { "members", "N", "Members per guild (40)." },
    { "private", "N", "Private channels (6)." },
    { "history", "N", "Messages in the busy channel's history (100000)." },
    { "rate", "R", "Messages per second (1); 0 for silence." },
    { "busy-channel", nullptr, "All talk is in the busy channel." },
    { "seed", "N", "Seed of the world and its life (1)." },
    { "faults", "LIST", "Faults in turn: drop,close,op7,op9,garbage." },
    { "fault-interval", "SECONDS", "Time between faults (20)." },
    { "hello-interval", "MS", "Heartbeat interval that clients are told (41250)." },
    { "ids-as-integers", nullptr, "Identifiers as integers in the gateway's terms." },
    { "seconds", "N", "Stop after that time." },
    { "write-deployment", "FILE", "Write the deployment file for the client." },
    { "data-home", "DIR", "Make a ready data directory for the client in DIR." },
    { "parent-pid", "PID", "Stop when that process is gone." },
};

QString latin(char const* text)
{
    return QString::fromLatin1(text);
}

void addOptions(QCommandLineParser& parser)
{
    parser.setApplicationDescription(latin("A stand-in for Discord on loopback."));
    parser.addHelpOption();
    for (OptionText const& option : kOptions) {
        QCommandLineOption one(latin(option.name), latin(option.help));
        if (option.value)
            one.setValueName(latin(option.value));
        parser.addOption(one);
    }
}

// Leaves *out alone if the option is not given; false if its value is out of bounds.
template <class T>
bool readNumber(QCommandLineParser const& parser, char const* name, T most, T* out)
{
    if (!parser.isSet(latin(name)))
        return true;
    bool ok = false;
    double const value = parser.value(latin(name)).toDouble(&ok);
    if (!ok || !(value >= 0 && value <= double(most))) {
        std::fprintf(stderr, "nakwire-stage: bad value for --%s\n", name);
        return false;
    }
    *out = T(value);
    return true;
}

bool readFaults(QString const& text, std::vector<stage::Fault>* out)
{
    for (QString const& word : text.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        stage::Fault fault;
        if (!stage::parseFault(word.trimmed(), &fault)) {
            std::fprintf(stderr, "nakwire-stage: unknown fault\n");
            return false;
        }
        out->push_back(fault);
    }
    return true;
}

bool readOptions(QCommandLineParser const& parser, ProgramOptions* out)
{
    stage::WorldSize& world = out->stage.world;
    world.endMs = QDateTime::currentMSecsSinceEpoch();
    bool const numbers = readNumber(parser, "guilds", 1000, &world.guilds)
        && readNumber(parser, "channels", 10000, &world.channelsPerGuild)
        && readNumber(parser, "members", 200000, &world.membersPerGuild)
        && readNumber(parser, "private", 1000, &world.privateChannels)
        && readNumber(parser, "history", 10000000, &world.messagesInBusyChannel)
        && readNumber(parser, "rate", 100000.0, &out->life.messagesPerSecond)
        && readNumber<quint64>(parser, "seed", 1u << 30, &out->stage.seed)
        && readNumber(parser, "fault-interval", 86400, &out->faultSeconds)
        && readNumber(parser, "hello-interval", 1000000, &out->stage.helloIntervalMs)
        && readNumber(parser, "seconds", 1000000, &out->seconds)
        && readNumber<qint64>(parser, "parent-pid", 1 << 30, &out->parentPid);
    out->onlyBusyChannel = parser.isSet(latin("busy-channel"));
    out->stage.idsAsIntegers = parser.isSet(latin("ids-as-integers"));
    out->deploymentFile = parser.value(latin("write-deployment"));
    out->dataHome = parser.value(latin("data-home"));
    out->life.seed = out->stage.seed;
    out->stage.recordRequests = false;
    return numbers && readFaults(parser.value(latin("faults")), &out->faults);
}

// With a data directory the account in it is the only one; otherwise any token signs in.
bool writeClientFiles(ProgramOptions const& options, stage::Stage const& stage, quint64 channel)
{
    if (!options.deploymentFile.isEmpty()
        && !stage::writeDeployment(options.deploymentFile, stage)) {
        std::fprintf(stderr, "nakwire-stage: the deployment file could not be written\n");
        return false;
    }
    if (!options.dataHome.isEmpty()
        && !stage::writeDataHome(options.dataHome, options.stage.token, channel)) {
        std::fprintf(stderr, "nakwire-stage: the data directory could not be made\n");
        return false;
    }
    return true;
}

int g_signalPipe[2] = { -1, -1 };

extern "C" void onSignal(int)
{
    char const byte = 1;
    // Nothing can be done about a failure here, and one byte is enough for several signals.
    [[maybe_unused]] ssize_t const written = write(g_signalPipe[1], &byte, 1);
}

// SIGTERM and SIGINT leave the event loop through a pipe, since a handler may do almost nothing.
bool quitOnSignals(QCoreApplication& app)
{
    if (pipe2(g_signalPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return false;
    auto* notifier = new QSocketNotifier(g_signalPipe[0], QSocketNotifier::Read, &app);
    QObject::connect(notifier, &QSocketNotifier::activated, &app, &QCoreApplication::quit);
    struct sigaction action { };
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    return sigaction(SIGTERM, &action, nullptr) == 0 && sigaction(SIGINT, &action, nullptr) == 0;
}

void quitWithParent(QCoreApplication& app, qint64 pid)
{
    if (pid == 0)
        return;
    auto* timer = new QTimer(&app);
    QObject::connect(timer, &QTimer::timeout, &app, [pid] {
        if (kill(pid_t(pid), 0) != 0 && errno == ESRCH)
            QCoreApplication::quit();
    });
    timer->start(500);
}

void startFaults(QCoreApplication& app, stage::Stage& stage, ProgramOptions const& options)
{
    if (options.faults.empty() || options.faultSeconds == 0)
        return;
    auto* timer = new QTimer(&app);
    QObject::connect(timer, &QTimer::timeout, &app,
                     [&stage, faults = options.faults, turn = size_t(0)]() mutable {
                         stage::applyFault(stage, faults[turn++ % faults.size()]);
                     });
    timer->start(options.faultSeconds * 1000);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    addOptions(parser);
    parser.process(app);
    ProgramOptions options;
    if (!readOptions(parser, &options))
        return 2;
    if (!options.dataHome.isEmpty())
        options.stage.token = QString::number(QRandomGenerator::system()->generate64(), 16)
            + QString::number(QRandomGenerator::system()->generate64(), 16);
    stage::Stage stage(options.stage);
    quint64 const channel = stage.busyChannelId();
    if (!stage.isListening() || !quitOnSignals(app) || !writeClientFiles(options, stage, channel))
        return 1;
    options.life.channel = options.onlyBusyChannel ? channel : 0;
    stage::Life life(stage, options.life);
    life.start();
    startFaults(app, stage, options);
    quitWithParent(app, options.parentPid);
    if (options.seconds > 0)
        QTimer::singleShot(options.seconds * 1000, &app, &QCoreApplication::quit);
    std::printf("ready api=%s gateway=%s channel=%llu\n", qPrintable(stage.apiUrl()),
                qPrintable(stage.gatewayUrl()), static_cast<unsigned long long>(channel));
    std::fflush(stdout);
    return app.exec();
}
