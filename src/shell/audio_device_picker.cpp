// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio_device_picker.h"

#include "audio_devices.h"
#include "audio_door.h"
#include "plain_text.h"

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QScreen>
#include <QSignalBlocker>
#include <QStylePainter>
#include <QToolTip>

namespace {

using State = NakAudioDevices::State;

constexpr int leastVisibleChars = 20;

} // namespace

NakAudioDevicePicker::NakAudioDevicePicker(int mode, QWidget* parent)
    : QComboBox(parent)
    , m_mode(mode)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    setMinimumContentsLength(leastVisibleChars);
    // Names of one card differ at either end.
    view()->setTextElideMode(Qt::ElideMiddle);
    fill();
    connect(this, QOverload<int>::of(&QComboBox::currentIndexChanged), this, [this] {
        m_chosen = currentData().toString();
        emit deviceChosen(m_chosen);
    });
    connect(g_audioDevices, &NakAudioDevices::changed, this, &NakAudioDevicePicker::fill);
    g_audioDevices->read();
}

NakAudioDevicePicker::~NakAudioDevicePicker() = default;

void NakAudioDevicePicker::setDeviceName(QString const& name)
{
    m_stored = m_chosen = name;
    fill();
}

void NakAudioDevicePicker::showPopup()
{
    g_audioDevices->read();
    widenPopup();
    QComboBox::showPopup();
}

// --- the list ---

QVector<NakAudioDevicePicker::Row> NakAudioDevicePicker::rows() const
{
    QVector<Row> rows{ { tr("Default device of the system"), QString() } };
    QStringList const& found = g_audioDevices->names(m_mode);
    for (QString const& name : found)
        rows.append({ NakPlainText::titleLine(name), name });
    bool const isComplete = g_audioDevices->state() == State::Known;
    QStringList missing{ m_stored, m_chosen };
    missing.removeDuplicates();
    for (QString const& name : qAsConst(missing)) {
        if (name.isEmpty() || found.contains(name))
            continue;
        QString const text = NakPlainText::titleLine(name);
        rows.append({ isComplete ? tr("%1 (not connected)").arg(text) : text, name });
    }
    return rows;
}

void NakAudioDevicePicker::fill()
{
    updateHint();
    QVector<Row> const wanted = rows();
    QSignalBlocker const quiet(this); // what the program shows is not what the user did
    if (m_rows == wanted) {
        setCurrentIndex(findData(m_chosen));
        return;
    }
    m_rows = wanted;
    QVariant const lit = view()->currentIndex().data(Qt::UserRole);
    clear();
    for (Row const& row : wanted)
        addItem(row.text, row.name);
    setCurrentIndex(findData(m_chosen));
    if (!view()->isVisible())
        return;
    widenPopup();
    QComboBox::showPopup(); // as large as the list is now, with the chosen name where it was
    if (int const row = findData(lit); row >= 0)
        view()->setCurrentIndex(model()->index(row, 0));
}

// The box may be narrower than a name.
void NakAudioDevicePicker::widenPopup()
{
    int const wanted =
        view()->sizeHintForColumn(0) + style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    view()->setMinimumWidth(qMin(wanted, screen()->availableGeometry().width() / 2));
}

void NakAudioDevicePicker::updateHint()
{
    bool const isInput = m_mode == NakAudio::Input;
    QString hint;
    if (g_audioDevices->state() == State::Unavailable)
        hint = tr("Devices cannot be listed: a part of Nakwire is missing.");
    else if (g_audioDevices->state() == State::Silent)
        hint = tr("The sound system does not answer.");
    else if (g_audioDevices->state() == State::Known && g_audioDevices->names(m_mode).isEmpty())
        hint = isInput ? tr("No microphone was found.") : tr("No speakers were found.");
    if (m_hint == hint)
        return;
    m_hint = hint;
    emit hintChanged();
}

// --- a name that is longer than the box ---

QString NakAudioDevicePicker::elidedText() const
{
    QStyleOptionComboBox option;
    initStyleOption(&option);
    int const width =
        style()
            ->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this)
            .width();
    return fontMetrics().elidedText(currentText(), Qt::ElideMiddle, width);
}

void NakAudioDevicePicker::paintEvent(QPaintEvent*)
{
    QStylePainter painter(this);
    painter.setPen(palette().color(QPalette::Text));
    QStyleOptionComboBox option;
    initStyleOption(&option);
    option.currentText = elidedText();
    painter.drawComplexControl(QStyle::CC_ComboBox, option);
    painter.drawControl(QStyle::CE_ComboBoxLabel, option);
}

bool NakAudioDevicePicker::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return QComboBox::event(event);
    bool const isCut = elidedText() != currentText();
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(),
                       isCut ? NakPlainText::toolTip(currentText()) : QString(), this);
    return true;
}
