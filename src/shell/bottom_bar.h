// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The row below a window's tabs: the user's own status, the tabs' status strip, then the state of
// the connections.

#include <QWidget>

class NakOwnUserStatusButton;

class BottomBar : public QWidget {
    Q_OBJECT
public:
    // Takes statusWidget.
    BottomBar(QWidget* statusWidget, QWidget* parent);

    NakOwnUserStatusButton* ownStatus() const { return m_ownStatus; }

protected:
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void fitHeight();

    NakOwnUserStatusButton* m_ownStatus;
};
