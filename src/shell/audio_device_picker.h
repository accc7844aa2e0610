// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Chooses an audio device by its name, or the default device. The names come in from
// g_audioDevices, which is asked again whenever the list is opened; until then, and whatever comes,
// a name that was chosen earlier stays chosen. User-interface thread.

#include <QComboBox>
#include <QVector>

class NakAudioDevicePicker : public QComboBox {
    Q_OBJECT
public:
    NakAudioDevicePicker(int mode, QWidget* parent); // a NakAudio::Mode
    ~NakAudioDevicePicker() override;

    void setDeviceName(QString const& name); // empty: the default device; emits nothing
    QString const& hint() const { return m_hint; } // why there is nothing to choose, or empty

    void showPopup() override;

signals:
    void deviceChosen(QString const& name); // by the user
    void hintChanged();

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    struct Row {
        QString text;
        QString name;
        bool operator==(Row const& other) const { return text == other.text && name == other.name; }
    };
    QVector<Row> rows() const;
    void fill();
    void widenPopup();
    void updateHint();
    QString elidedText() const;

    int const m_mode;
    QString m_stored; // stays in the list whatever else is chosen
    QString m_chosen;
    QVector<Row> m_rows; // as they are shown
    QString m_hint;
};
