// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Chooses a font: family, size in points, and whether its edges are smoothed. What it does not show
// of a font stays as it is. User-interface thread.

#include <QFont>
#include <QWidget>

class QCheckBox;
class QFontComboBox;
class QSpinBox;

class NakSettingsFontControl : public QWidget {
    Q_OBJECT
public:
    NakSettingsFontControl(bool monospaceOnly, QWidget* parent);

    void setChosenFont(QFont const& font); // emits nothing

signals:
    void fontChosen(QFont const& font); // by the user

private:
    void choose();

    QFont m_font;
    QFontComboBox* m_family;
    QSpinBox* m_points;
    QCheckBox* m_smooth;
};
