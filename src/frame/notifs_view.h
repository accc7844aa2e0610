// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The content of the notifications tab: the list, how many there are, and a button that dismisses
// them all. User-interface thread.

#include "tabbed_widget.h"

#include <QWidget>

class NakNotifsScrollArea;
class QLabel;
class QPushButton;

class NakNotifsView : public QWidget, public INakTabbedWidget {
    Q_OBJECT
    Q_INTERFACES(INakTabbedWidget)
public:
    explicit NakNotifsView(QWidget* parent = nullptr);
    ~NakNotifsView() override;

    QString tabText() override;
    QIcon tabIcon() override;
    NakNavLoc tabNavLoc() const override;

signals:
    void tabDataChanged(NakTabbedDataChangeFlags flags);
    void tabStatusUpdated(QRect rect);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void updateBar();
    void checkUpdateTabText();

    NakNotifsScrollArea* m_list;
    QLabel* m_status;
    QPushButton* m_dismissAll;
    int m_toldCount; // what the tab's text was last made of
};
