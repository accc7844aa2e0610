// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "chat_world.h"
#include "dis_group_user_line.h"

namespace {

TEST(UserLine, PartsFollowEachOtherAndAreHitWhereTheyAre)
{
    NakPreferences preferences;
    preferences.displayUserStatusInChat = true;
    DisBuffMetrics metrics = DisBuffStyles::metricsFromPreferences(preferences);
    DisGroupUserLineContent content;
    content.name = QStringLiteral("A name of some length that may give way");
    content.discriminator = QStringLiteral("#0042");
    content.time = QStringLiteral("21:05");
    content.isBot = true;
    using Part = DisGroupUserLinePart;
    for (int width : { 300, 640, 1200 }) {
        DisGroupUserLineLayout const layout = layoutUserLine(content, metrics, width);
        int right = -1;
        for (auto const& [rect, part] :
             { std::pair(layout.name, Part::Name), std::pair(layout.status, Part::None),
               std::pair(layout.discriminator, Part::Discriminator),
               std::pair(layout.bot, Part::Bot), std::pair(layout.time, Part::Time) }) {
            EXPECT_GT(rect.left(), right) << width;
            EXPECT_EQ(hitUserLine(layout, rect.center()), part) << width;
            right = rect.right();
        }
        EXPECT_LT(right, width);
        EXPECT_EQ(layout.nameText == content.name, width >= 640) << width;
        EXPECT_EQ(hitUserLine(layout, QPoint(width + 5, 2)), Part::None);
    }
    metrics = DisBuffStyles::metricsFromPreferences(NakPreferences());
    content = {};
    content.name = QStringLiteral("ada");
    content.time = QStringLiteral("21:05");
    DisGroupUserLineLayout const layout = layoutUserLine(content, metrics, 400);
    EXPECT_TRUE(layout.status.isEmpty() && layout.discriminator.isEmpty() && layout.bot.isEmpty());
    EXPECT_EQ(layout.time.left(), layout.name.right() + 1 + metrics.partGap);
}

} // namespace
