// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "model_fixture.h"
#include "nak_event_log.h"

#include <QApplication>

#include <gtest/gtest.h>

#include <cstring>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Nakwire"));
    if (argc == 3 && std::strcmp(argv[1], saveAccountsRole) == 0)
        saveAccountsUntilKilled(QString::fromLocal8Bit(argv[2]));
    testing::InitGoogleTest(&argc, argv);
    NakEvLog::init();
    int const result = RUN_ALL_TESTS();
    NakEvLog::deinit();
    return result;
}
