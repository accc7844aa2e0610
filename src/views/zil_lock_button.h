// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The small button below a ZilDragDial: its pressed() asks the view's owner to stick to the newest
// again. The owner enables it only while the view does not. User-interface thread only.

#include <QAbstractButton>

class ZilLockButton : public QAbstractButton {
    Q_OBJECT
public:
    explicit ZilLockButton(QWidget* parent = nullptr);
    ~ZilLockButton() override;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};
