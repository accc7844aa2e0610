// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A place of fixed size that shows a picture of the web, and a quiet pattern until it is there. The
// size never depends on what comes. User-interface thread only.

#include "web_images.h"

#include <QWidget>

class NakWebImageDisplay : public QWidget {
    Q_OBJECT
public:
    explicit NakWebImageDisplay(QWidget* parent = nullptr);
    ~NakWebImageDisplay() override;

    // maximumSize is what the picture is decoded for, displaySize what the widget would like to
    // have; an owner that gives it less room sees the picture made smaller.
    void setParams(QUrl const& url, QSize const& maximumSize, QSize const& displaySize);
    void clear();

    QSize sizeHint() const override { return m_displaySize; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    NakWebImageListener m_listener;
    QSize m_displaySize;
};
