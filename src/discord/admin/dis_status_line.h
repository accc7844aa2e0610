// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The line in which a window of the administration says what it is doing and what came of it. Text
// of servers is plain text in it. User-interface thread.

#include <QLabel>

class DisRequest;

class DisStatusLine : public QLabel {
    Q_OBJECT
public:
    explicit DisStatusLine(QWidget* parent = nullptr);
    ~DisStatusLine() override;

    void say(QString const& text);
    // Says why the request failed, and with what it has to do; otherwise that it is done. True if
    // it is.
    bool sayResult(DisRequest const& request, QString const& done);
};
