// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio_devices.h"

#include "audio_door.h"
#include "event_log.h"
#include "invoke_on_thread.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QLibrary>
#include <QPointer>
#include <QThread>

NakAudioDevices* g_audioDevices = nullptr;

namespace {

constexpr int patienceMSecs = 2000;
constexpr unsigned long patienceAtEndMSecs = 200;
constexpr int maxNames = 256; // of a mode
constexpr int maxNameLength = 512; // code units

void log(QString const& text)
{
    EvLogGlobal::addLogEvent(EvLog::Category::Audio, EvLog::Severity::Warn, text);
}

QStringList bounded(QStringList const& told)
{
    QStringList names;
    for (QString const& name : told) {
        if (names.size() == maxNames)
            break;
        if (!name.isEmpty() && name.size() <= maxNameLength && !names.contains(name))
            names.append(name);
    }
    return names;
}

} // namespace

struct NakAudioDevices::Answer {
    bool isLoaded = false;
    QString problem; // if it is not
    Names names;
};

// What the two threads share, and what outlives the owner if the sound system does not let go.
struct NakAudioDevices::Side {
    explicit Side(QString const& file)
        : moduleFile(file)
    {
        thread.setObjectName(QStringLiteral("AudioDevicesThread"));
        worker.moveToThread(&thread);
        thread.start(QThread::NormalPriority);
    }

    Answer read(); // on the thread

    QString const moduleFile;
    NakAudio::AppendDeviceNames appendNames = nullptr;
    QThread thread;
    QObject worker; // receives what the thread is told
    QObject mailbox; // receives what it answers
};

NakAudioDevices::Answer NakAudioDevices::Side::read()
{
    Answer answer;
    if (!appendNames) {
        QLibrary module(moduleFile);
        module.setLoadHints(QLibrary::PreventUnloadHint | QLibrary::ResolveAllSymbolsHint);
        appendNames = reinterpret_cast<NakAudio::AppendDeviceNames>(
            module.resolve(NakAudio::appendDeviceNamesSymbol));
        // The library would tell of the last of many places where it looked.
        answer.problem =
            QFile::exists(moduleFile) ? module.errorString() : tr("there is no %1").arg(moduleFile);
    }
    answer.isLoaded = appendNames;
    for (int mode = 0; appendNames && mode < static_cast<int>(answer.names.size()); ++mode) {
        QStringList told;
        appendNames(mode, &told);
        answer.names.at(static_cast<size_t>(mode)) = bounded(told);
    }
    return answer;
}

NakAudioDevices::NakAudioDevices(QString const& moduleFile, QObject* parent)
    : QObject(parent)
    , m_moduleFile(moduleFile)
{
    m_patience.setSingleShot(true);
    m_patience.setInterval(patienceMSecs);
    connect(&m_patience, &QTimer::timeout, this, &NakAudioDevices::noteSilence);
}

NakAudioDevices::~NakAudioDevices()
{
    if (!m_side)
        return;
    m_side->thread.quit();
    if (m_side->thread.wait(patienceAtEndMSecs))
        return;
    log(tr("The sound system still does not answer"));
    static_cast<void>(m_side.release());
}

QString NakAudioDevices::installedModuleFile()
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath()
                           + QLatin1String("/../lib/nakwire/libnakwire_audio.so"));
}

void NakAudioDevices::read()
{
    if (m_isReading || m_state == State::Unavailable)
        return;
    m_isReading = true;
    m_patience.start();
    if (!m_side)
        m_side = std::make_unique<Side>(m_moduleFile);
    Utils::invokeOnThread(&m_side->worker, [side = m_side.get(), self = QPointer(this)] {
        Utils::invokeOnThread(&side->mailbox, [self, answer = side->read()] {
            if (self)
                self->takeAnswer(answer);
        });
    });
}

void NakAudioDevices::takeAnswer(Answer const& answer)
{
    m_isReading = false;
    m_patience.stop();
    if (!answer.isLoaded) {
        log(tr("The audio devices cannot be listed: %1").arg(answer.problem));
        set(State::Unavailable, {});
        return;
    }
    bool const hasNone = answer.names[NakAudio::Input].isEmpty() //
        && answer.names[NakAudio::Output].isEmpty();
    if (hasNone && !std::exchange(m_saidNone, true))
        log(tr("The sound system has no audio devices, or there is no sound system"));
    set(State::Known, answer.names);
}

void NakAudioDevices::noteSilence()
{
    if (!std::exchange(m_saidSilent, true))
        log(tr("The sound system has not told its devices for %1 s").arg(patienceMSecs / 1000));
    set(State::Silent, m_names);
}

void NakAudioDevices::set(State state, Names const& names)
{
    if (m_state == state && m_names == names)
        return;
    m_state = state;
    m_names = names;
    emit changed();
}
