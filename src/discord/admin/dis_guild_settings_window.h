// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// One guild: what it is, and what the user has the right to see and change of it. There is at most
// one window for each guild; it goes with the window that it was called from, and with the guild.
// User-interface thread.

#include "flake_id.h"

#include <QDialog>

class QTabWidget;
struct DisChanges;

class DisGuildSettingsWindow : public QDialog {
    Q_OBJECT
public:
    ~DisGuildSettingsWindow() override;

    static void summon(FlakeId user, FlakeId guild, QWidget* parent);

private:
    DisGuildSettingsWindow(FlakeId user, FlakeId guild, QWidget* parent);
    void addPages();
    void disChanges(DisChanges const& changes);

    FlakeId const m_user;
    FlakeId const m_guild;
    QTabWidget* m_pages;
};
