// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings_font_control.h"

#include <QCheckBox>
#include <QFontComboBox>
#include <QFontInfo>
#include <QHBoxLayout>
#include <QSignalBlocker>
#include <QSpinBox>

namespace {

constexpr int leastPoints = 5;
constexpr int mostPoints = 72;
constexpr int familyChars = 18; // the combo box would be as wide as the longest name

bool isSmooth(QFont const& font)
{
    return !(font.styleStrategy() & QFont::NoAntialias);
}

} // namespace

NakSettingsFontControl::NakSettingsFontControl(bool monospaceOnly, QWidget* parent)
    : QWidget(parent)
    , m_family(new QFontComboBox(this))
    , m_points(new QSpinBox(this))
    , m_smooth(new QCheckBox(tr("Smooth"), this))
{
    m_family->setFontFilters(monospaceOnly ? QFontComboBox::MonospacedFonts
                                           : QFontComboBox::AllFonts);
    m_family->setEditable(false); // a name that does not exist would be a font that nobody sees
    m_family->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_family->setMinimumContentsLength(familyChars);
    m_family->setAccessibleName(tr("Family"));
    m_points->setRange(leastPoints, mostPoints);
    m_points->setSuffix(tr(" pt"));
    m_points->setAccessibleName(tr("Size"));
    m_smooth->setToolTip(tr("Smooth the edges of the letters"));

    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_family, 1);
    layout->addWidget(m_points);
    layout->addWidget(m_smooth);
    setFocusProxy(m_family);

    connect(m_family, &QFontComboBox::currentFontChanged, this, &NakSettingsFontControl::choose);
    connect(m_points, QOverload<int>::of(&QSpinBox::valueChanged), this,
            &NakSettingsFontControl::choose);
    connect(m_smooth, &QCheckBox::toggled, this, &NakSettingsFontControl::choose);
}

void NakSettingsFontControl::setChosenFont(QFont const& font)
{
    QSignalBlocker const family(m_family);
    QSignalBlocker const points(m_points);
    QSignalBlocker const smooth(m_smooth);
    m_font = font;
    QFontInfo const real(font); // what stands for a family that is not here, and pixels in points
    m_family->setCurrentFont(QFont(real.family()));
    m_points->setValue(real.pointSize());
    m_smooth->setChecked(isSmooth(font));
}

// Only what the user touched: the rest may be shown as something else than it is.
void NakSettingsFontControl::choose()
{
    if (sender() == m_family)
        m_font.setFamily(m_family->currentFont().family());
    else if (sender() == m_points)
        m_font.setPointSize(m_points->value());
    else
        m_font.setStyleStrategy(m_smooth->isChecked() ? QFont::PreferDefault : QFont::NoAntialias);
    emit fontChosen(m_font);
}
