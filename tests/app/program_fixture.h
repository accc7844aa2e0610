// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The real program on a display of its own.

#include "surroundings.h"

#include <gtest/gtest.h>

#include <memory>

class Program : public testing::Test {
protected:
    static void SetUpTestSuite() { s_display = std::make_unique<Display>(); }
    static void TearDownTestSuite() { s_display.reset(); }

    void SetUp() override;

    // The program, or this test program in a role.
    std::unique_ptr<QProcess> start(QString const& role = QString());
    // The window's identifier once it is there.
    static QString waitForWindow(QProcess const& process, QString const& name);

    QByteArray logText() const;
    QByteArray lockText() const;
    void expectOrderlyEnd(QProcess& process);

    static std::unique_ptr<Display> s_display;
    QString const m_title = QStringLiteral("Accounts - Nakwire");
    Surroundings m_surroundings;
};
