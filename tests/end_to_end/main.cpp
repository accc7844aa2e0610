// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <QGuiApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    qputenv("QT_XCB_GL_INTEGRATION", "none");
    QGuiApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
