// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The page of the network proxy. Whether there is one is a preference; where it is stands in the
// settings file alone, and is written when the user confirms. User-interface thread.

#include "settings_form.h"

class QComboBox;
class QLineEdit;
class QSpinBox;

class NakSettingsProxyPage : public NakSettingsForm {
    Q_OBJECT
public:
    NakSettingsProxyPage(NakSettingsModel* model, QWidget* parent);

    void save() const;

protected:
    void resetOwnRows() override;

private:
    void load();

    QComboBox* m_type;
    QLineEdit* m_host;
    QSpinBox* m_port;
    QLineEdit* m_user;
    QLineEdit* m_password;
};
