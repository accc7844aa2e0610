// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// One page of the settings dialog: headings, and rows with a control each, bound to its field of
// the working copy in both directions. User-interface thread.

#include "settings_model.h"
#include "settings_rows.h"

#include <QWidget>

#include <functional>

class QCheckBox;
class QFormLayout;

class NakSettingsForm : public QWidget {
    Q_OBJECT
public:
    NakSettingsForm(NakSettingsModel* model, QVector<NakSettingsRows::Group> const& groups,
                    QWidget* parent);
    ~NakSettingsForm() override;

    void resetToDefaults();

    bool eventFilter(QObject* watched, QEvent* event) override;

protected:
    void changeEvent(QEvent* event) override;

    // For pages with rows of their own.
    void addHeading(QString const& text);
    // The control, with the help below it in one widget if there is any.
    QWidget* addRow(QString const& label, QWidget* control, QString const& help);
    void enableRow(QWidget* cell, bool on); // with its label
    virtual void resetOwnRows() { }
    NakSettingsModel* model() const { return m_model; }

private:
    using P = NakPreferences;
    void keepEventsForThePage(QWidget* control);
    void addBound(NakSettingsRows::Row const& row);
    QWidget* makeControl(NakSettingsRows::Row const& row, bool P::*field);
    QWidget* makeControl(NakSettingsRows::Row const& row, qint32 P::*field);
    QWidget* makeControl(NakSettingsRows::Row const& row, double P::*field);
    QWidget* makeControl(NakSettingsRows::Row const& row, float P::*field);
    QWidget* makeControl(NakSettingsRows::Row const& row, QString P::*field);
    QWidget* makeControl(NakSettingsRows::Row const& row, QFont P::*field);
    QWidget* makeThemeChoice(qint32 P::*field);
    QWidget* makeKeyField(QString P::*field);
    QWidget* makeDeviceChoice(int mode, QString P::*field);
    template <typename T>
    void read(QWidget* control, std::function<void(T const&)> show, T P::*field);

    NakSettingsModel* m_model;
    QFormLayout* m_layout;
    QVector<std::function<void()>> m_readers; // each shows its field
    QVector<std::function<void()>> m_enablers; // each follows the field that its row needs
    QVector<NakSettingsRows::Field> m_fields;
};
