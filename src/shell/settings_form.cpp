// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings_form.h"

#include "app_theme.h"
#include "audio_device_picker.h"
#include "audio_door.h"
#include "settings_file.h"
#include "settings_font_control.h"
#include "settings_key_field.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QEvent>
#include <QFontInfo>
#include <QFormLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QSignalBlocker>
#include <QStyle>
#include <QVBoxLayout>

#include <cmath>

using NakSettingsRows::Look;
using NakSettingsRows::Row;

namespace {

constexpr int pageMargin = 14;
constexpr int rowGap = 6;
constexpr int helpGap = 2; // between a control and its help
constexpr int headingGap = 10; // above a heading, beside the gap of the rows
constexpr int kerningGap = 2; // a letter that is underlined loses it, which no size hint knows of
constexpr double helpScale = 0.9; // of the font

QString helpName()
{
    return QStringLiteral("help");
}

double decibels(double factor, double least)
{
    return factor > 0 ? std::max(least, 20 * std::log10(factor)) : least;
}

bool turnsPage(QEvent const* event)
{
    if (event->type() != QEvent::KeyPress)
        return false;
    auto const* const key = static_cast<QKeyEvent const*>(event);
    return key->modifiers().testFlag(Qt::ControlModifier)
        && (key->key() == Qt::Key_Tab || key->key() == Qt::Key_Backtab);
}

void scaleHelp(QLabel* help, QFont const& around)
{
    QFont font;
    font.setPointSizeF(QFontInfo(around).pointSizeF() * helpScale);
    help->setFont(font);
}

// The control, and the sentence right below it.
QWidget* withHelp(QWidget* control, QString const& help)
{
    auto* const text = new QLabel(help);
    text->setObjectName(helpName());
    text->setTextFormat(Qt::PlainText);
    text->setWordWrap(true);
    scaleHelp(text, control->font());
    control->setAccessibleDescription(help);
    QStyle const* const style = control->style();
    if (qobject_cast<QCheckBox*>(control)) // below its text
        text->setIndent(style->pixelMetric(QStyle::PM_IndicatorWidth)
                        + style->pixelMetric(QStyle::PM_CheckBoxLabelSpacing));

    auto* const cell = new QWidget;
    cell->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    auto* const layout = new QVBoxLayout(cell);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(helpGap);
    bool const isWide = control->sizePolicy().expandingDirections().testFlag(Qt::Horizontal);
    layout->addWidget(control, 0, isWide ? Qt::Alignment() : Qt::AlignLeft);
    layout->addWidget(text);
    return cell;
}

// The hint comes and goes with what is known of the devices.
QWidget* withHint(NakAudioDevicePicker* picker)
{
    QWidget* const cell = withHelp(picker, QString());
    auto* const text = cell->findChild<QLabel*>();
    auto const show = [picker, text] {
        text->setText(picker->hint());
        text->setVisible(!picker->hint().isEmpty());
        picker->setAccessibleDescription(picker->hint());
    };
    QObject::connect(picker, &NakAudioDevicePicker::hintChanged, text, show);
    show();
    return cell;
}

QDoubleSpinBox* newSpinBox(NakSettingsRows::Range const& range)
{
    auto* const box = new QDoubleSpinBox;
    box->setDecimals(range.step < 1 ? 1 : 0);
    box->setSingleStep(range.step);
    box->setRange(range.least, range.most);
    box->setSuffix(NakSettingsForm::tr(range.suffix));
    if (range.leastText)
        box->setSpecialValueText(NakSettingsForm::tr(range.leastText));
    return box;
}

} // namespace

NakSettingsForm::NakSettingsForm(NakSettingsModel* model,
                                 QVector<NakSettingsRows::Group> const& groups, QWidget* parent)
    : QWidget(parent)
    , m_model(model)
    , m_layout(new QFormLayout(this))
{
    m_layout->setContentsMargins(pageMargin, rowGap, pageMargin, pageMargin);
    m_layout->setHorizontalSpacing(pageMargin);
    m_layout->setVerticalSpacing(rowGap);
    m_layout->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    for (NakSettingsRows::Group const& group : groups) {
        addHeading(tr(group.title));
        for (Row const& row : group.rows)
            addBound(row);
    }
    auto const run = [](QVector<std::function<void()>> const& steps) {
        for (auto const& step : steps)
            step();
    };
    connect(m_model, &NakSettingsModel::edited, this, [this, run] { run(m_enablers); });
    connect(m_model, &NakSettingsModel::replaced, this, [this, run] {
        run(m_readers);
        run(m_enablers);
    });
    run(m_readers);
    run(m_enablers);
}

NakSettingsForm::~NakSettingsForm() = default;

void NakSettingsForm::resetToDefaults()
{
    NakPreferences const defaults = NakPreferences::defaults();
    for (NakSettingsRows::Field const& any : qAsConst(m_fields))
        std::visit([&](auto field) { m_model->set(field, defaults.*field); }, any);
    for (auto const& show : qAsConst(m_readers))
        show();
    resetOwnRows();
}

bool NakSettingsForm::eventFilter(QObject* watched, QEvent* event)
{
    auto const* const control = qobject_cast<QWidget*>(watched);
    bool const scrollsPage = event->type() == QEvent::Wheel && control && !control->hasFocus();
    if (scrollsPage || turnsPage(event)) {
        event->ignore();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void NakSettingsForm::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() != QEvent::FontChange)
        return;
    for (QLabel* help : findChildren<QLabel*>(helpName()))
        scaleHelp(help, font());
}

// --- rows ---

void NakSettingsForm::addHeading(QString const& text)
{
    auto* const heading = new QLabel(text);
    heading->setTextFormat(Qt::PlainText);
    QFont font = heading->font();
    font.setBold(true);
    heading->setFont(font);
    heading->setContentsMargins(0, headingGap, 0, 0);
    m_layout->addRow(heading);
}

// A wheel that scrolls the page must not change what comes under the pointer, and a list takes
// Ctrl+Tab for the name of one of its rows.
void NakSettingsForm::keepEventsForThePage(QWidget* control)
{
    auto parts = control->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly);
    parts.append(control);
    for (QWidget* part : qAsConst(parts)) {
        if (!qobject_cast<QComboBox*>(part) && !qobject_cast<QAbstractSpinBox*>(part))
            continue;
        part->setFocusPolicy(Qt::StrongFocus);
        part->installEventFilter(this);
    }
}

QWidget* NakSettingsForm::addRow(QString const& label, QWidget* control, QString const& help)
{
    keepEventsForThePage(control);
    auto* const picker = qobject_cast<NakAudioDevicePicker*>(control);
    QWidget* const cell = picker ? withHint(picker)
        : help.isEmpty()         ? control
                                 : withHelp(control, help);
    if (qobject_cast<QCheckBox*>(control)) {
        m_layout->addRow(cell);
    } else {
        m_layout->addRow(label, cell);
        auto* const text = qobject_cast<QLabel*>(m_layout->labelForField(cell));
        text->setBuddy(control);
        text->setContentsMargins(0, 0, kerningGap, 0);
    }
    return cell;
}

void NakSettingsForm::enableRow(QWidget* cell, bool on)
{
    cell->setEnabled(on);
    if (QWidget* const label = m_layout->labelForField(cell))
        label->setEnabled(on);
}

void NakSettingsForm::addBound(Row const& row)
{
    QWidget* const control =
        std::visit([&](auto field) { return makeControl(row, field); }, row.field);
    m_fields.append(row.field);
    QWidget* const cell = addRow(tr(row.label), control, row.help ? tr(row.help) : QString());
    if (!row.needs)
        return;
    m_enablers.append(
        [this, cell, needs = row.needs] { enableRow(cell, m_model->working().*needs); });
}

// --- controls ---

// What the program shows is not what the user did: a spin box, say, rounds.
template <typename T>
void NakSettingsForm::read(QWidget* control, std::function<void(T const&)> show, T P::*field)
{
    m_readers.append([this, control, show, field] {
        QSignalBlocker const quiet(control);
        show(m_model->working().*field);
    });
}

QWidget* NakSettingsForm::makeControl(Row const& row, bool P::*field)
{
    auto* const box = new QCheckBox(tr(row.label));
    connect(box, &QCheckBox::toggled, this, [this, field](bool on) { m_model->set(field, on); });
    read<bool>(
        box, [box](bool on) { box->setChecked(on); }, field);
    return box;
}

QWidget* NakSettingsForm::makeControl(Row const& row, qint32 P::*field)
{
    if (row.look == Look::Theme)
        return makeThemeChoice(field);
    QDoubleSpinBox* const box = newSpinBox(row.range);
    connect(box, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this,
            [this, field](double value) { m_model->set(field, qRound(value)); });
    read<qint32>(
        box, [box](qint32 value) { box->setValue(value); }, field);
    return box;
}

QWidget* NakSettingsForm::makeControl(Row const& row, double P::*field)
{
    QDoubleSpinBox* const box = newSpinBox(row.range);
    connect(box, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this,
            [this, field](double value) { m_model->set(field, value); });
    read<double>(
        box, [box](double value) { box->setValue(value); }, field);
    return box;
}

QWidget* NakSettingsForm::makeControl(Row const& row, float P::*field)
{
    Q_ASSERT(row.look == Look::Decibels);
    QDoubleSpinBox* const box = newSpinBox(row.range);
    connect(box, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this,
            [this, field](double value) {
                m_model->set(field, static_cast<float>(std::pow(10, value / 20)));
            });
    read<float>(
        box, [box](float value) { box->setValue(decibels(value, box->minimum())); }, field);
    return box;
}

QWidget* NakSettingsForm::makeControl(Row const& row, QString P::*field)
{
    if (row.look == Look::Key)
        return makeKeyField(field);
    return makeDeviceChoice(row.look == Look::Microphone ? NakAudio::Input : NakAudio::Output,
                            field);
}

QWidget* NakSettingsForm::makeControl(Row const& row, QFont P::*field)
{
    auto* const control = new NakSettingsFontControl(row.look == Look::Monospace, this);
    connect(control, &NakSettingsFontControl::fontChosen, this,
            [this, field](QFont const& font) { m_model->set(field, font); });
    read<QFont>(
        control, [control](QFont const& font) { control->setChosenFont(font); }, field);
    return control;
}

QWidget* NakSettingsForm::makeThemeChoice(qint32 P::*field)
{
    auto* const box = new QComboBox;
    for (NakAppTheme::ThemeType type : NakAppTheme::themesList())
        box->addItem(NakAppTheme::themeDisplayName(type), static_cast<qint32>(type));
    box->setEnabled(!NakAppTheme::hasCustomTheme(NakSettingsFile()));
    connect(box, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            [this, field, box] { m_model->set(field, box->currentData().toInt()); });
    read<qint32>(
        box, [box](qint32 type) { box->setCurrentIndex(box->findData(type)); }, field);
    return box;
}

QWidget* NakSettingsForm::makeKeyField(QString P::*field)
{
    auto* const edit = new NakSettingsKeyField(this);
    connect(edit, &NakSettingsKeyField::keyChosen, this,
            [this, field](QString const& key) { m_model->set(field, key); });
    read<QString>(
        edit, [edit](QString const& key) { edit->setKey(key); }, field);
    return edit;
}

QWidget* NakSettingsForm::makeDeviceChoice(int mode, QString P::*field)
{
    auto* const picker = new NakAudioDevicePicker(mode, this);
    connect(picker, &NakAudioDevicePicker::deviceChosen, this,
            [this, field](QString const& name) { m_model->set(field, name); });
    read<QString>(
        picker, [picker](QString const& name) { picker->setDeviceName(name); }, field);
    return picker;
}
