// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The bar of a window's tabs: all of one width, filling the bar. User-interface thread.

#include <QTabBar>

class NakTabBar : public QTabBar {
    Q_OBJECT
public:
    explicit NakTabBar(QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    // The middle button was pressed on a tab. Unlike the close button, nobody asks back.
    void tabCloseReallyRequested(int index);

protected:
    QSize tabSizeHint(int index) const override;
    QSize minimumTabSizeHint(int index) const override;
    void tabLayoutChange() override;
    bool event(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    int barHeight() const;
    bool isElided(int index) const;
    void showCloseButtonsThatFit();
};
