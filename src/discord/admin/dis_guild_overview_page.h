// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What every member sees of a guild, and what the user can set of it for themself. User-interface
// thread.

#include "flake_id.h"

#include <QWidget>

class DisStatusLine;
class QCheckBox;
class QLabel;
struct DisChanges;

class DisGuildOverviewPage : public QWidget {
    Q_OBJECT
public:
    DisGuildOverviewPage(FlakeId user, FlakeId guild, QWidget* parent);
    ~DisGuildOverviewPage() override;

private:
    void showGuild();
    void showSettings();
    void disChanges(DisChanges const& changes);
    void setMuted(bool muted);

    FlakeId const m_user;
    FlakeId const m_guild;
    QLabel* m_picture;
    QLabel* m_name;
    QLabel* m_facts;
    QCheckBox* m_muted;
    DisStatusLine* m_status;
};
