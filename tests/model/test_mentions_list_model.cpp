// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_mentions_list_model.h"
#include "manager_test.h"

namespace {

QByteArray page(int newest, int count)
{
    QByteArrayList list;
    for (int n = newest; n > newest - count; --n)
        list << R"({"id":"%1","channel_id":"7","author":{"id":"5","username":"five"},)"
                R"("content":"<@1> %1"})";
    for (int n = 0; n < count; ++n)
        list[n].replace("%1", QByteArray::number(newest - n));
    return '[' + list.join(',') + ']';
}

} // namespace

using MentionsListModel = ManagerTest;

TEST_F(MentionsListModel, PagesUntilTheOldest)
{
    ASSERT_TRUE(signIn(manager->createAccountWithToken(QStringLiteral("token"))));
    auto* const list = manager->mentionsListModelForUser(manager->activeUserId());
    EXPECT_EQ(list, manager->mentionsListModelForUser(manager->activeUserId()));

    using State = DisMentionsListModel::State;
    QString const mentions = QStringLiteral("/users/@me/mentions");
    struct Step {
        int status;
        QByteArray reply;
        State state;
        int rows;
        bool canFetchMore;
        char const* query;
    };
    Step const steps[] = {
        { 500, "", State::Failed, 0, false, "limit=25&roles=true&everyone=true" },
        { 200, page(100, 25), State::Idle, 25, true, "limit=25&roles=true&everyone=true" },
        { 200, page(75, 2), State::Idle, 27, false, "limit=25&roles=true&everyone=true&before=76" },
    };
    for (Step const& step : steps) {
        service.answer("GET", mentions, step.status, step.reply, {}, 1);
        if (list->canFetchMore({}) && list->rowCount() > 0)
            list->fetchMore({});
        else
            list->reload();
        EXPECT_EQ(list->state(), State::Fetching);
        ASSERT_TRUE(waitUntil([&] { return list->state() != State::Fetching; }));
        EXPECT_EQ(list->state(), step.state);
        EXPECT_EQ(list->rowCount(), step.rows);
        EXPECT_EQ(list->canFetchMore({}), step.canFetchMore);
        EXPECT_EQ(service.requests("GET", mentions).last().query.toStdString(), step.query);
    }
    EXPECT_EQ(list->index(26).data().toString(), QStringLiteral("five: <@1> 74"));
    EXPECT_EQ(list->index(26).data(DisMentionsListModel::MessageIdRole).value<FlakeId>(),
              FlakeId(74));
    EXPECT_FALSE(manager->anyCallsActive());
}
