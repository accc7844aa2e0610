// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Member lists: what is asked for, and how an answer is read.

#include "dis_member_list.h"
#include "store_fixture.h"

#include <gtest/gtest.h>

namespace {

std::string textOf(QVector<DisSegsNormalized> const& all)
{
    std::string text;
    for (auto const& segs : all) {
        text += segs.channelId.toString().toStdString() + ":";
        for (int const chunk : segs.chunks)
            text += " " + std::to_string(chunk);
        text += "; ";
    }
    return text;
}

std::string textOf(DisSeg::GroupId const& id)
{
    static constexpr char const* names[] = { "role ", "online", "offline" };
    return names[static_cast<int>(id.kind)]
        + (id.roleId.isValid() ? id.roleId.toString().toStdString() : std::string());
}

std::string textOf(DisSeg::Package const& package)
{
    static constexpr char const* names[] = { "insert", "update", "delete", "sync" };
    std::string text = package.guildId.toString().toStdString() + " " + package.listId.toStdString()
        + (package.isEveryone ? " everyone" : "");
    for (auto const& group : package.groups)
        text += "\n" + textOf(group.id) + " x" + std::to_string(group.count);
    for (auto const& op : package.ops) {
        text +=
            "\n" + std::string(names[static_cast<int>(op.type)]) + " " + std::to_string(op.index);
        if (op.type == DisSeg::OpType::Sync)
            text += "-" + std::to_string(op.last);
        for (auto const& item : op.items)
            text += item.userId.isValid() ? " user " + item.userId.toString().toStdString()
                                          : " [" + textOf(item.group) + "]";
    }
    return text;
}

std::string readText(std::string const& json)
{
    std::string text;
    withJson(QByteArray::fromStdString(json), [&](Dread::Ctx const& ctx, Dread::Val const& root) {
        auto const update = DisClientImpl::readMemberListUpdate(ctx, root.map);
        if (!update.hasIds)
            text = "dropped";
        else if (!update.ok)
            text = update.failure ? update.failure : "too large";
        else
            text = textOf(update.package);
    });
    return text;
}

std::string withOps(std::string const& ops)
{
    return readText(R"({"guild_id":"10","id":"L","ops":[)" + ops + "]}");
}

std::string withGroups(std::string const& groups)
{
    return readText(R"({"guild_id":"10","id":"L","groups":[)" + groups + "]}");
}

std::string repeated(std::string const& text, int count)
{
    std::string all = text;
    for (int i = 1; i < count; ++i)
        all += "," + text;
    return all;
}

} // namespace

TEST(DisMemberList, RangesBecomeChunks)
{
    struct Case {
        QVector<DisClientChanSegs> channels;
        char const* chunks;
    };
    FlakeId const a(5);
    FlakeId const b(3);
    Case const cases[] = {
        { { { a, {} } }, "5: 0; " },
        { { { a, { { 0, 99 } } } }, "5: 0; " },
        { { { a, { { 99, 100 } } } }, "5: 0 1; " },
        { { { a, { { 700, 700 }, { 250, 310 } } } }, "5: 0 2 3 7; " },
        { { { a, { { 100, 199 } } }, { b, {} }, { a, { { 400, 401 } } } }, "3: 0; 5: 0 1 4; " },
        { { { FlakeId(), { { 0, 99 } } } }, "" },
        // 20 chunks at once, and 21.
        { { { a, { { 199, 2'000 } } } },
          "5: 0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20; " },
        { { { a, { { 199, 2'100 } } } }, "5: 0; " },
        { { { a, { { -1, 50 } } } }, "5: 0; " },
        { { { a, { { 500, 400 } } } }, "5: 0; " },
        // The last row of such a chunk is no signed 32-bit number.
        { { { a, { { 2'147'483'600, 2'147'483'647 } } } }, "5: 0; " },
        { { { a, { { 2'147'483'500, 2'147'483'599 } } } }, "5: 0 21474835; " },
    };
    for (auto const& c : cases)
        EXPECT_EQ(textOf(DisSeg::normalized(c.channels)), c.chunks);
}

TEST(DisMemberList, EveryKindOfOperation)
{
    EXPECT_EQ(readText(R"({"guild_id":"10","id":"everyone",
        "groups":[{"id":"30","count":1},{"id":"online","count":2},{"id":"offline","count":0}],
        "ops":[{"op":"SYNC","range":[0,99],"items":[{"group":{"id":"30","count":1}},
                 {"member":{"user":{"id":"3"}}},{"group":{"id":"online"}}]},
               {"op":"SYNC","range":[300,399],"items":null},
               {"op":"INSERT","index":2,"item":{"member":{"user":{"id":"4"}}}},
               {"op":"UPDATE","index":0,"item":{"group":{"id":"offline"}}},
               {"op":"DELETE","index":7}]})"),
              "10 everyone everyone\nrole 30 x1\nonline x2\noffline x0\n"
              "sync 0-99 [role 30] user 3 [online]\nsync 300-399\ninsert 2 user 4\n"
              "update 0 [offline]\ndelete 7");
    EXPECT_EQ(readText(R"({"guild_id":10,"id":"3094857"})"), "10 3094857");
    EXPECT_EQ(withOps(R"({"op":"SYNC","range":"AB","items":[]})"), "10 L\nsync 65-66");
    for (char const* json : { R"({"id":"L"})", R"({"guild_id":"10"})",
                              R"({"guild_id":"x","id":"L"})", R"({"guild_id":"10","id":7})" })
        EXPECT_EQ(readText(json), "dropped") << json;
}

TEST(DisMemberList, EveryFailureHasItsLine)
{
    struct Case {
        char const* op;
        char const* line;
    };
    Case const cases[] = {
        { "7", "Op string not found" },
        { R"({"op":1})", "Op string not found" },
        { R"({"op":"INVALIDATE"})", "Unrecognized op type" },
        { R"({"op":"SYNC","items":[]})", "Range not found" },
        { R"({"op":"SYNC","range":[0,99]})", "Items not found" },
        { R"({"op":"SYNC","range":[0,99],"items":{}})", "Items is not a list or nil" },
        { R"({"op":"SYNC","range":{},"items":[]})", "Sync range is not string or list" },
        { R"({"op":"SYNC","range":null,"items":[]})", "Sync range is not string or list" },
        { R"({"op":"SYNC","range":"A","items":[]})", "Sync range string is not length 2" },
        { R"({"op":"SYNC","range":"ABC","items":[]})", "Sync range string is not length 2" },
        { R"({"op":"SYNC","range":[0],"items":[]})", "Sync range list is not count of 2" },
        { R"({"op":"SYNC","range":[0,1,2],"items":[]})", "Sync range list is not count of 2" },
        { R"({"op":"SYNC","range":["0",99],"items":[]})",
          "Sync range list element is not uint8 or int32" },
        { R"({"op":"SYNC","range":[0,4294967296],"items":[]})",
          "Sync range list element is not uint8 or int32" },
        { R"({"op":"SYNC","range":[90,110],"items":[]})", "Range is not same chunk index" },
        { R"({"op":"SYNC","range":[-1,0],"items":[]})", "Range is not same chunk index" },
        { R"({"op":"SYNC","range":[-100,-1],"items":[]})", "Range chunk index is negative" },
        { R"({"op":"SYNC","range":[0,99],"items":[7]})", "Sync list item is not a map" },
        { R"({"op":"SYNC","range":[0,99],"items":[{}]})", "Sync item is invalid" },
        { R"({"op":"SYNC","range":[0,99],"items":[{"member":{}}]})", "Sync item is invalid" },
        { R"({"op":"SYNC","range":[0,99],"items":[{"group":{"id":"x"}}]})",
          "Sync item is invalid" },
        { R"({"op":"UPDATE","item":{}})", "Missing index for Update op" },
        { R"({"op":"UPDATE","index":1})", "Missing item for Update op" },
        { R"({"op":"UPDATE","index":1,"item":{}})", "Invalid item for Update op" },
        { R"({"op":"INSERT","item":{}})", "Missing index for Insert op" },
        { R"({"op":"INSERT","index":-1,"item":{}})", "Missing index for Insert op" },
        { R"({"op":"INSERT","index":1,"item":[]})", "Missing item for Insert op" },
        { R"({"op":"INSERT","index":1,"item":{}})", "Invalid item for Insert opt" },
        { R"({"op":"DELETE"})", "Missing index for Delete op" },
    };
    for (auto const& c : cases)
        EXPECT_EQ(withOps(c.op), c.line) << c.op;
    for (char const* group : { "{}", R"({"id":"online"})", R"({"count":1})",
                               R"({"id":"x","count":1})", R"({"id":"online","count":-1})" })
        EXPECT_EQ(withGroups(group), "Bad group decl in groups") << group;
    EXPECT_EQ(withGroups("1"), "Group list item is not a map");
}

TEST(DisMemberList, SizesAreBounded)
{
    auto const sync = [](int items) {
        return withOps(R"({"op":"SYNC","range":[0,99],"items":[)"
                       + repeated(R"({"group":{"id":"online"}})", items) + "]}");
    };
    EXPECT_EQ(sync(100).substr(0, 13), "10 L\nsync 0-9");
    EXPECT_EQ(sync(101), "too large");
    std::string const remove = R"({"op":"DELETE","index":1})";
    EXPECT_NE(withOps(repeated(remove, 1'000)), "too large");
    EXPECT_EQ(withOps(repeated(remove, 1'001)), "too large");
    std::string const group = R"({"id":"online","count":1})";
    EXPECT_NE(withGroups(repeated(group, 1'000)), "too large");
    EXPECT_EQ(withGroups(repeated(group, 1'001)), "too large");
}
