// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "nak_event_log.h"

#include <QGuiApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv); // pictures are sent
    QCoreApplication::setApplicationName(QStringLiteral("Nakwire"));
    testing::InitGoogleTest(&argc, argv);
    NakEvLog::init();
    int const result = RUN_ALL_TESTS();
    NakEvLog::deinit();
    return result;
}
