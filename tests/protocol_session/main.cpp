// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "nak_event_log.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Nakwire"));
    testing::InitGoogleTest(&argc, argv);
    NakEvLog::init();
    int const result = RUN_ALL_TESTS();
    NakEvLog::deinit();
    return result;
}
