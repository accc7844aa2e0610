// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Makes an invite to a channel of a guild: how long it is valid, then its link to copy. The service
// is told nothing of how often it may be used: an invite has no limit. User-interface thread.

#include "flake_id.h"

#include <QDialog>

class DisDreadFetchOp;
class DisStatusLine;
class QComboBox;
class QLineEdit;
class QPushButton;

class DisInviteDialog : public QDialog {
    Q_OBJECT
public:
    DisInviteDialog(FlakeId user, FlakeId channel, QWidget* parent);
    ~DisInviteDialog() override;

private:
    void makeRows();
    void create();
    void receive(DisDreadFetchOp* op);
    void copy();

    FlakeId const m_user;
    FlakeId const m_channel;
    QComboBox* m_validity;
    QLineEdit* m_link;
    QPushButton* m_copy;
    QPushButton* m_create;
    DisStatusLine* m_status;
};
