// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// The start and the end of the real program, seen from outside.

#include "program_fixture.h"

#include <QFile>

#include <sys/resource.h>

#include <csignal>

TEST(CommandLine, VersionIsAllOfIt)
{
    struct {
        QStringList arguments;
        int status;
        char const* output;
        char const* error;
    } const cases[] = {
        { { QStringLiteral("--version"), QStringLiteral("x") }, 0, "Nakwire 0.4.8\n", "" },
        { { QStringLiteral("-h"), QStringLiteral("--version") },
          1,
          "",
          "Unrecognized command line argument: \"-h\"\n" },
        { { QString::fromLatin1("") }, 1, "", "Unrecognized command line argument: \"\"\n" },
    };
    for (auto const& c : cases) {
        Surroundings const surroundings(
            "none"); // the application never starts, and never misses it
        QProcess process;
        process.setProcessEnvironment(surroundings.environment);
        process.start(QStringLiteral(NAKWIRE_PROGRAM), c.arguments);
        Finished const finished = waitForEnd(process);
        EXPECT_EQ(finished.status, c.status);
        EXPECT_EQ(finished.standardOutput, c.output);
        EXPECT_EQ(finished.standardError, c.error);
        EXPECT_FALSE(QFile::exists(surroundings.dataPath()));
        EXPECT_TRUE(surroundings.temporaryFiles().isEmpty());
    }
}

namespace {

char const* const accounts = "Accounts - Nakwire";
char const* const secondWindow = "Nakwire"; // without tabs
char const* const isRunning = "Nakwire Startup";
char const* const lockFailure = "Lock file failure";

// What happens once a window is there: keys apart by blanks, then a signal, or the disk is full.
struct Step {
    char const* window;
    char const* keys;
    int signal = 0;
    bool diskIsFull = false;
};

enum End { Orderly = 0, Refused = 1, Aborted = -1 }; // by the exit status

using NamedText = std::pair<char const*, char const*>;

struct Case {
    char const* name;
    End end;
    std::vector<Step> steps;
    std::vector<NamedText> environment = {};
    std::vector<NamedText> files = {}; // of the data directory
    bool besideAnother = false;
    rlim_t room = RLIM_INFINITY; // bytes that a file may have
};

// Whose lock it is: process, program, machine. No process can have the highest of these numbers,
// and the first is that of another program.
constexpr NamedText lockOf(char const* text)
{
    return { "nakwire.lockfile", text };
}
char const* const deadProcess = "4194304\nnakwire\n\n";
char const* const otherProgram = "1\nnakwire\n\n";
char const* const otherMachine = "1\nnakwire\nelsewhere\n";

NamedText const noData{ "XDG_DATA_HOME", "/dev/null" };
NamedText const trayIcon{ "settings.ini", "[application]\nshow_system_tray_icon=true" };
NamedText const toStay{ "settings.ini", "[application]\nstay_running_with_no_windows=true" };

Step const quitStep{ accounts, "ctrl+q" };
Step const closeStep{ accounts, "ctrl+shift+w" };
Step const newWindowStep{ accounts, "ctrl+n" };
Step const refuseStep{ isRunning, "Escape" };
Step const forceStep{ isRunning, "shift+Tab Return" }; // from "Quit" to "Force start"
Step const ignoreStep{ lockFailure, "Tab Return" }; // from "Abort" to "Ignore"
Step const databaseErrorStep{ "Nakwire database error", "Return" };

std::vector<Case> const cases{
    { "quit_key", Orderly, { quitStep } },
    { "SIGTERM", Orderly, { { accounts, "", SIGTERM } } },
    { "SIGINT", Orderly, { { accounts, "", SIGINT } } },
    { "last_window", Orderly, { closeStep } },
    { "last_window_with_a_tray_icon", Orderly, { closeStep }, {}, { trayIcon } },
    { "last_window_to_stay_without_one", Orderly, { closeStep }, {}, { toStay } },
    { "two_windows", Orderly, { newWindowStep, { secondWindow, "ctrl+shift+w" }, closeStep } },
    { "SIGTERM_while_a_box_waits",
      Orderly,
      { { accounts, "alt+a Return Return" },
        { "Add Discord Account", "alt+g" },
        { "Get My Discord Token", "", SIGTERM } } },
    { "SIGTERM_with_two_windows", Orderly, { newWindowStep, { secondWindow, "", SIGTERM } } },

    { "running_refused_by_default", Refused, { { isRunning, "Return" } }, {}, {}, true },
    { "running_refused", Refused, { refuseStep }, {}, {}, true },
    { "running_forced_in_vain", Refused, { forceStep, { lockFailure, "Return" } }, {}, {}, true },
    { "running_ignored", Orderly, { forceStep, ignoreStep, quitStep }, {}, {}, true },
    { "lock_of_a_dead_process", Orderly, { quitStep }, {}, { lockOf(deadProcess) } },
    { "lock_of_another_program", Orderly, { quitStep }, {}, { lockOf(otherProgram) } },
    { "lock_from_elsewhere", Refused, { refuseStep }, {}, { lockOf(otherMachine) } },
    { "lock_from_elsewhere_forced",
      Orderly,
      { forceStep, quitStep },
      {},
      { lockOf(otherMachine) } },
    { "empty_lock_forced", Orderly, { forceStep, quitStep }, {}, { lockOf("") } },

    { "no_data_directory", Refused, { refuseStep }, { noData } },
    { "data_directory_nowhere", Refused, { refuseStep }, { { "XDG_DATA_HOME", "/proc/x" } } },
    { "no_data_ignored", Aborted, { forceStep, ignoreStep, databaseErrorStep }, { noData } },
    { "no_temporary_directory",
      Aborted,
      { { "Critical Error", "Return" } },
      { { "TMPDIR", "/dev/null" } } },
    { "no_room_for_lock_and_log", Aborted, { forceStep, ignoreStep }, {}, {}, false, 0 },
    { "no_room_for_a_database", Aborted, { databaseErrorStep }, {}, {}, false, 200 },
    { "log_runs_out_of_room", Aborted, { { accounts, "", SIGTERM, true } } },

    { "damaged_files",
      Orderly,
      { { "Bookmarks are not saved", "Return" }, quitStep },
      {},
      { { "settings.ini", "[\xff%%=\n]=@Variant(\x7f" },
        { "custom_theme.json", "[" },
        { "user_data.nakdb", "no database, and long enough to be seen as such" },
        { "nakwire_accounts.bin", "?" } } },
    { "foreign_style", Orderly, { quitStep }, { { "NAKWIRE_STYLE_ENGINE", "fUSION" } } },
    { "unknown_style", Orderly, { quitStep }, { { "NAKWIRE_STYLE_ENGINE", "no such" } } },
};

class StartAndQuit : public Program, public testing::WithParamInterface<Case> {
protected:
    void prepare(Case const& c)
    {
        for (auto const& [name, value] : c.environment)
            m_surroundings.set(name, QLatin1String(value));
        for (auto const& [name, text] : c.files)
            m_surroundings.writeData(name, text);
    }
    static void take(Step const& step, QProcess const& process)
    {
        QString const window = Windows::waitFor(process.processId(), QLatin1String(step.window));
        ASSERT_FALSE(window.isEmpty()) << step.window;
        if (*step.keys)
            Windows::pressKeys(window, QLatin1String(step.keys));
        auto const id = static_cast<pid_t>(process.processId());
        if (step.diskIsFull)
            limitFiles(id, 0);
        if (step.signal)
            kill(id, step.signal);
    }
    static void limitFiles(pid_t process, rlim_t bytes)
    {
        rlimit const limit{ bytes, RLIM_INFINITY };
        prlimit(process, RLIMIT_FSIZE, &limit, nullptr);
    }
};

} // namespace

TEST_P(StartAndQuit, Is)
{
    Case const& c = GetParam();
    prepare(c);
    std::unique_ptr<QProcess> other;
    QString otherWindow;
    if (c.besideAnother) {
        other = start();
        otherWindow = Windows::waitFor(other->processId(), m_title);
        ASSERT_FALSE(otherWindow.isEmpty());
    }
    QByteArray const lock = m_surroundings.lockText();

    signal(SIGXFSZ, SIG_IGN); // inherited; else the limit itself would end the program
    limitFiles(0, c.room);
    auto process = start();
    limitFiles(0, RLIM_INFINITY);
    for (Step const& step : c.steps)
        ASSERT_NO_FATAL_FAILURE(take(step, *process));
    Finished const finished = waitForEnd(*process);
    EXPECT_EQ(finished.status, c.end) << finished.standardError;
    EXPECT_EQ(process->state(), QProcess::NotRunning); // else it did not end at all

    if (c.besideAnother) {
        EXPECT_EQ(m_surroundings.lockText(), lock);
        EXPECT_EQ(Windows::of(other->processId(), m_title), QStringList(otherWindow));
        EXPECT_EQ(m_surroundings.temporaryFiles().size(), 1); // the other's log
        kill(static_cast<pid_t>(other->processId()), SIGTERM);
        expectOrderlyEnd(*other);
    } else if (c.end != Aborted) {
        EXPECT_EQ(m_surroundings.lockText(), c.end == Orderly ? "no lock" : lock);
        EXPECT_TRUE(m_surroundings.temporaryFiles().isEmpty());
    }
}

INSTANTIATE_TEST_SUITE_P(Program, StartAndQuit, testing::ValuesIn(cases),
                         [](auto const& test) { return std::string(test.param.name); });

TEST_F(Program, WindowComesBackAsItWas)
{
    QSize const size(900, 500);
    for (int run = 0; run < 2; ++run) {
        auto process = start();
        QString const window = Windows::waitFor(process->processId(), m_title);
        ASSERT_FALSE(window.isEmpty());
        if (run == 0)
            Windows::resize(window, size);
        EXPECT_EQ(Windows::sizeOf(window), size);
        Windows::pressKeys(window, QStringLiteral("ctrl+q"));
        expectOrderlyEnd(*process);
    }
}

TEST_F(Program, DeploymentFileIsLogged)
{
    QString const path = m_surroundings.dataPath(QStringLiteral("d.ini"));
    m_surroundings.set("NAKWIRE_DEPLOYMENT", path);
    for (char const* const logged :
         { "\tWarn\tApplication:\tThe deployment file ",
           "\tWarn\tApplication:\tHosts and addresses are replaced by the deployment file " }) {
        auto process = start();
        EXPECT_TRUE(waitUntil([&] {
            return m_surroundings.logText().contains(logged + path.toUtf8());
        })) << m_surroundings.logText().toStdString();
        ASSERT_FALSE(Windows::waitFor(process->processId(), m_title).isEmpty());
        kill(static_cast<pid_t>(process->processId()), SIGTERM);
        expectOrderlyEnd(*process);
        m_surroundings.writeData("d.ini", "[discord]\napi_url=http://127.0.0.1:1/api/v6\n");
    }
}
