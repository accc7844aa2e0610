// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Who the user is and how they show to others, at the left of the bottom bar: the active Discord
// user, else the account that would be it. Its menu chooses the status. Follows g_disManager;
// without one there is no account. User-interface thread.

#include "dis_listen.h"

#include <QToolButton>

class DisStoredAccount;
class QMenu;

class NakOwnUserStatusButton : public QToolButton {
    Q_OBJECT
public:
    explicit NakOwnUserStatusButton(QWidget* parent = nullptr);
    ~NakOwnUserStatusButton() override;

    // Above the button; at the corner of the window while the bar is hidden. Returns at once.
    void popUpMenu();

signals:
    void accountsWanted();

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void watchAccounts();
    void refresh();
    void showCircle();
    QString toolTipText() const;
    void fillMenu(QMenu* menu);
    void addStatusActions(QMenu* menu);
    void askPlayingGame();

    enum class State { NoAccount, Offline, Rejected, SignedIn };
    static State stateOf(DisStoredAccount const* account);
    State m_state = State::NoAccount;
    QString m_name; // of the account, in one line
    QString m_discriminator; // with its hash sign
    DisUserStatusCode m_status = DisUserStatusCode::Unknown;
    DisUserListener m_user; // the active one
};
