// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The names of the audio devices. The first reading loads the audio module (audio_door.h) and
// starts a thread, which asks the sound system: that can take long, and must hold up neither the
// user nor the one thread that the global pool may have. User-interface thread.

#include <QObject>
#include <QStringList>
#include <QTimer>

#include <array>
#include <memory>

class NakAudioDevices : public QObject {
    Q_OBJECT
public:
    enum class State {
        Unknown, // nobody has asked, or the first answer is on its way
        Known,
        Silent, // the sound system keeps somebody waiting
        Unavailable, // there is no module; stays so
    };
    using Names = std::array<QStringList, 2>; // by NakAudio::Mode

    explicit NakAudioDevices(QString const& moduleFile, QObject* parent = nullptr);
    // Waits a moment for the thread. One that the sound system holds is left to the process's end.
    ~NakAudioDevices() override;

    static QString installedModuleFile();

    void read(); // answered by changed(); nothing more is asked while an answer is on its way

    State state() const { return m_state; }
    // Of the last answer: each once, none of them empty, bounded in length and number.
    QStringList const& names(int mode) const { return m_names.at(static_cast<size_t>(mode)); }

signals:
    void changed(); // the state or the names

private:
    struct Side;
    struct Answer;
    void takeAnswer(Answer const& answer);
    void noteSilence();
    void set(State state, Names const& names);

    QString const m_moduleFile;
    std::unique_ptr<Side> m_side; // made by the first reading
    QTimer m_patience; // runs while an answer is waited for
    bool m_isReading = false;
    bool m_saidSilent = false; // each is logged once
    bool m_saidNone = false;
    State m_state = State::Unknown;
    Names m_names;
};

// Set and cleared in src/app.
extern NakAudioDevices* g_audioDevices;
