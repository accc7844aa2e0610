// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The active user's guilds: their order, joining and leaving. There is at most one such window; it
// goes with the window that it was called from. A new order is sent once the user has stopped
// moving rows. User-interface thread.

#include "flake_id.h"

#include <QDialog>
#include <QTimer>

class DisServersModel;
class DisStatusLine;
class DisViewHint;
class QLayout;
class QLineEdit;
class QListView;
class QPushButton;
struct DisChanges;

class DisServersWindow : public QDialog {
    Q_OBJECT
public:
    ~DisServersWindow() override;

    static void summon(QWidget* parent);

private:
    explicit DisServersWindow(QWidget* parent);
    void makeList();
    QLayout* makeButtons();
    QLayout* makeJoinRow();
    QPushButton* addButton(QLayout* layout, QString const& text, void (DisServersWindow::*slot)());

    void reload();
    void disChanges(DisChanges const& changes);
    void filter();
    void updateState();
    FlakeId currentGuild() const; // invalid if none
    void setCurrentGuild(FlakeId guild);

    void moveBy(int rows);
    void moveUp() { moveBy(-1); }
    void moveDown() { moveBy(1); }
    void orderChanged();
    void saveOrder();
    void sendWaitingOrder();
    void openSettings();
    void leave();

    void askAboutInvite();
    void join(QString const& code, QString const& name);

    FlakeId m_user;
    DisServersModel* m_model;
    QLineEdit* m_filter;
    QListView* m_list;
    DisViewHint* m_hint;
    DisStatusLine* m_status;
    QPushButton* m_up = nullptr;
    QPushButton* m_down = nullptr;
    QPushButton* m_settings = nullptr;
    QPushButton* m_leave = nullptr;
    QLineEdit* m_invite;
    QPushButton* m_join = nullptr;
    QTimer m_saveTimer;
    bool m_saving = false; // an order is on its way
};
