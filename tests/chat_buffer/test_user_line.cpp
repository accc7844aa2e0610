// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "chat_world.h"
#include "dis_group_user_line.h"

namespace {

QVector<QRect> partsOf(DisGroupUserLineLayout const& layout)
{
    return { layout.name, layout.discriminator, layout.bot, layout.time };
}

TEST(UserLine, PartsFollowEachOtherAndAreHitWhereTheyAre)
{
    DisBuffMetrics const metrics = DisBuffStyles::metricsFromPreferences(NakPreferences());
    DisGroupUserLineContent content;
    content.name = QStringLiteral("A name of some length that may have to give way");
    content.discriminator = QStringLiteral("#0042");
    content.time = QStringLiteral("21:05");
    content.isBot = true;
    DisGroupUserLinePart const parts[] = { DisGroupUserLinePart::Name,
                                           DisGroupUserLinePart::Discriminator,
                                           DisGroupUserLinePart::Bot, DisGroupUserLinePart::Time };
    for (int width : { 300, 640, 1200 }) {
        DisGroupUserLineLayout const layout = layoutUserLine(content, metrics, width);
        QVector<QRect> const rects = partsOf(layout);
        int right = -1;
        for (int i = 0; i < rects.size(); ++i) {
            EXPECT_GT(rects.at(i).left(), right) << "width " << width << ", part " << i;
            EXPECT_EQ(hitUserLine(layout, rects.at(i).center()), parts[i]);
            right = rects.at(i).right();
        }
        EXPECT_LT(right, width);
        EXPECT_EQ(layout.nameText == content.name, width == 1200 || width == 640) << width;
        EXPECT_EQ(hitUserLine(layout, QPoint(width + 5, 2)), DisGroupUserLinePart::None);
    }
}

TEST(UserLine, WhatIsAbsentTakesNoRoom)
{
    DisBuffMetrics const metrics = DisBuffStyles::metricsFromPreferences(NakPreferences());
    DisGroupUserLineContent content;
    content.name = QStringLiteral("ada");
    content.time = QStringLiteral("21:05");
    DisGroupUserLineLayout const layout = layoutUserLine(content, metrics, 400);
    EXPECT_TRUE(layout.discriminator.isEmpty());
    EXPECT_TRUE(layout.bot.isEmpty());
    EXPECT_EQ(layout.time.left(), layout.name.right() + 1 + metrics.partGap);
}

} // namespace
