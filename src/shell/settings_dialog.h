// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The window of the preferences; there is at most one. Changes are in force at once. OK and Apply
// write them, Cancel takes back everything since the window opened, and closing it keeps them.
// User-interface thread; needs g_preferences and g_globalEvents.

#include "styled_window.h"

class NakSettingsForm;
class NakSettingsModel;
class NakSettingsProxyPage;
class QDialogButtonBox;
class QTabWidget;

class NakSettingsDialog : public NakStyledWindow {
    Q_OBJECT
public:
    ~NakSettingsDialog() override;

    static void summonSettingsDialog(); // raises the one that there is, or makes it
    static void closeSettingsDialog();

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    NakSettingsDialog();
    void makeMenu();
    QDialogButtonBox* makeButtons();
    void buildPage(int index); // when it is looked at for the first time
    NakSettingsForm* newPage(int index);

    void accept();
    void apply();
    void cancel();
    void resetPage();
    void saveOnce();
    void openDataPath();

    NakSettingsModel* m_model;
    QTabWidget* m_pages;
    NakSettingsProxyPage* m_proxy = nullptr;
    bool m_isDone = false; // confirmed or cancelled: closing has nothing to save
};
