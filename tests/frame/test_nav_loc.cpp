// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "nav_loc.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace {

NakNavLoc loaded(char const* json)
{
    return NakNav::loadFromJson(QJsonDocument::fromJson(json).object());
}

std::string saved(NakNavLoc const& place)
{
    return QJsonDocument(NakNav::saveToJson(place).toObject())
        .toJson(QJsonDocument::Compact)
        .toStdString();
}

struct GoodCase {
    NakNavLoc place;
    char const* json; // keys in the order of their bytes, as they are written
};

QVector<GoodCase> goodCases()
{
    QString const channel = QStringLiteral("C024BE91L");
    QString const time = QStringLiteral("1234567890.123456");
    return {
        { NakNavLoc(), R"({"type":"none"})" },
        { NakNavLoc::builtin(NakNav::BuiltinView::Type::Notifications),
          R"({"data":{"type":"notifications"},"type":"builtin"})" },
        { NakNavLoc::builtin(NakNav::BuiltinView::Type::Accounts),
          R"({"data":{"type":"accounts"},"type":"builtin"})" },
        { NakNavLoc::discordChannel(FlakeId(9007199254740993)),
          R"({"data":{"channel_id":"9007199254740993","type":"channel"},"type":"discord"})" },
        { NakNavLoc::discordChannel(FlakeId(2)),
          R"({"data":{"channel_id":"2","type":"channel"},"type":"discord"})" },
        { NakNavLoc::discordFriends(), R"({"data":{"type":"friends"},"type":"discord"})" },
        { NakNavLoc::discordMentions(), R"({"data":{"type":"mentions"},"type":"discord"})" },
        { NakNavLoc::slackChannel(18446744073709551615ULL, channel),
          R"({"data":{"channel_id":"C024BE91L","type":"channel","world":"18446744073709551615"},)"
          R"("type":"slack"})" },
        { NakNavLoc::slackThread(7, channel, time),
          R"({"data":{"channel_id":"C024BE91L","thread_ts":"1234567890.123456","type":"thread",)"
          R"("world":"7"},"type":"slack"})" },
        { NakNavLoc::slackThread(7, channel, QStringLiteral("1.000001")),
          R"({"data":{"channel_id":"C024BE91L","thread_ts":"1.000001","type":"thread",)"
          R"("world":"7"},"type":"slack"})" },
        { NakNavLoc::slackChannel(1, QStringLiteral("C1")),
          R"({"data":{"channel_id":"C1","type":"channel","world":"1"},"type":"slack"})" },
        { NakNavLoc::slackChannel(2, QStringLiteral("C1")),
          R"({"data":{"channel_id":"C1","type":"channel","world":"2"},"type":"slack"})" },
        { NakNavLoc::slackAllThreads(7),
          R"({"data":{"type":"all_threads","world":"7"},"type":"slack"})" },
    };
}

TEST(NavLoc, EveryPlaceIsSavedLoadedAndEqualToItselfAlone)
{
    auto const cases = goodCases();
    for (int i = 0; i < cases.size(); ++i) {
        EXPECT_EQ(saved(cases[i].place), cases[i].json);
        for (int k = 0; k < cases.size(); ++k)
            EXPECT_EQ(loaded(cases[i].json) == cases[k].place, i == k) << cases[i].json << k;
    }
    // Whatever the field holds that friends do not have.
    EXPECT_EQ(loaded(R"({"type":"discord","data":{"type":"friends","channel_id":"5"}})"),
              NakNavLoc::discordFriends());
    EXPECT_FALSE(NakNavLoc::discordFriends().discordChannelId().isValid());
}

TEST(NavLoc, EveryBrokenPieceGivesTheNonePlace)
{
    char const* const broken[] = {
        R"({})",
        R"([])",
        R"({"type":5})",
        R"({"type":"Discord","data":{"type":"friends"}})",
        R"({"type":"builtin"})",
        R"({"type":"builtin","data":"accounts"})",
        R"({"type":"builtin","data":{"type":"settings"}})",
        R"({"type":"discord","data":{"type":"channel"}})",
        R"({"type":"discord","data":{"type":"channel","channel_id":5}})",
        R"({"type":"discord","data":{"type":"channel","channel_id":""}})",
        R"({"type":"discord","data":{"type":"channel","channel_id":"18446744073709551616"}})",
        R"({"type":"discord","data":{"type":"server","channel_id":"5"}})",
        R"({"type":"discord","data":{"channel_id":"5"}})",
        R"({"type":"slack","data":{"type":"all_threads"}})",
        R"({"type":"slack","data":{"type":"all_threads","world":7}})",
        R"({"type":"slack","data":{"type":"all_threads","world":"-7"}})",
        R"({"type":"slack","data":{"type":"all_threads","world":"18446744073709551616"}})",
        R"({"type":"slack","data":{"type":"channel","world":"7"}})",
        R"({"type":"slack","data":{"type":"channel","world":"7","channel_id":"c1"}})",
        R"({"type":"slack","data":{"type":"channel","world":"7","channel_id":"C123456789012345"}})",
        R"({"type":"slack","data":{"type":"thread","world":"7","channel_id":"C1"}})",
        R"({"type":"slack","data":{"type":"thread","world":"7","channel_id":"C1","thread_ts":"1"}})",
        R"({"type":"slack","data":{"type":"thread","world":"7","channel_id":"C1","thread_ts":"1."}})",
        R"({"type":"slack","data":{"type":"thread","world":"7","thread_ts":"1.1"}})",
    };
    for (char const* json : broken)
        EXPECT_EQ(loaded(json), NakNavLoc()) << json;
    EXPECT_EQ(NakNav::loadFromJson(QStringLiteral("discord")), NakNavLoc());
    EXPECT_EQ(NakNav::loadFromJson({}), NakNavLoc());
}

TEST(NavLoc, OldTabsAreBareStrings)
{
    auto const old = [](QJsonValue const& v) { return NakNav::loadFromJson_tabs_legacy_v1(v); };
    EXPECT_EQ(old(QStringLiteral("notifications")),
              NakNavLoc::builtin(NakNav::BuiltinView::Type::Notifications));
    EXPECT_EQ(old(QStringLiteral("175928847299117063")),
              NakNavLoc::discordChannel(FlakeId(175928847299117063)));
    for (char const* bad : { "", "accounts", "12x", "-1" })
        EXPECT_EQ(old(QString::fromLatin1(bad)), NakNavLoc()) << bad;
    EXPECT_EQ(old(5), NakNavLoc());
    EXPECT_EQ(old(QJsonObject{ { QStringLiteral("type"), QStringLiteral("none") } }), NakNavLoc());
}

} // namespace
