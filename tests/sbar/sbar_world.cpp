// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "sbar_world.h"

#include "nak_stmt.h"
#include "sbar_discord.h"
#include "sbar_tree.h"
#include "sbar_vis.h"

#include <QFile>

#include <gtest/gtest.h>

namespace {

stage::StageOptions smallStage()
{
    stage::StageOptions options;
    options.world.guilds = 1;
    options.world.privateChannels = 1;
    options.world.membersPerGuild = 3;
    return options;
}

} // namespace

SbarWorld::SbarWorld()
    : service(smallStage())
    , model(service.apiUrl())
{
    g_guiIcons = &icons;
    manager = std::make_unique<DisManager>(model.dir.filePath(QStringLiteral("a.bin")), nullptr);
    g_disManager = manager.get();
    manager->setForegroundChannelsProvider([] { return DisForegroundChannels(); });
    manager->connectWithAccount(manager->createAccountWithToken(QStringLiteral("token")));
    EXPECT_TRUE(waitUntil([this] { return manager->activeUserId().isValid(); }));
    me = manager->activeUserId();
    for (char const* table : { "guild", "guild_member", "guild_channel", "guild_voice_channel",
                               "guild_channel_category", "role", "private_channel_participant",
                               "private_channel", "voice_state", "user_guild_position" })
        sql(QStringLiteral("delete from ") + QLatin1String(table));
    model.client->postLocalChanges(DisChanges::reload());
    manager->hack_localClearAllUnreads();
    QFile::remove(NakSavedData::dbFilePath());
    saved = std::make_unique<NakSavedData>(nullptr);
    g_savedData = saved.get();
    view = std::make_unique<NakSbarView>(nullptr);
    view->resize(300, 8000); // all rows have records
    view->show();
    QCoreApplication::processEvents();
}

SbarWorld::~SbarWorld()
{
    view.reset();
    saved.reset();
    g_savedData = nullptr;
    manager.reset();
    g_disManager = nullptr;
    g_guiIcons = nullptr;
}

QVector<QPair<FlakeId, QString>> SbarWorld::rows(QString const& text) const
{
    QVector<QPair<FlakeId, QString>> found;
    NakStmt stmt(model.client->db(), text.toUtf8().constData(), nullptr);
    while (stmt.step())
        found.append({ stmt.colFlake(0), stmt.colString(1) });
    return found;
}

void SbarWorld::reload()
{
    model.client->postLocalChanges(DisChanges::reload());
    waitUntil([this] { return !NakSbar::isReading(priv()); });
}

void SbarWorld::say(FlakeId channel)
{
    DisChanges changes;
    changes.add(DisChange::ChangeType::MessageCreated, FlakeId(++lastMessage), channel,
                FlakeId(77));
    model.client->postLocalChanges(changes);
}

void SbarWorld::addGuild(quint64 id, QString const& name)
{
    sql(QStringLiteral("insert into guild values (%1, '%2', null, 5, null); "
                       "insert into role values (%1, %1, '@everyone', 0, 0, 0, 1024, 0, 0); "
                       "insert into guild_member values (%1, %3, null, '', 0, 0)")
            .arg(id)
            .arg(name)
            .arg(me.value()));
}

void SbarWorld::addChannel(quint64 id, quint64 guild, qint64 parent, int position)
{
    sql(QStringLiteral("insert into guild_channel values (%1, %2, %3, %4, 0, 0, 'c%1', '', 0, 0); "
                       "insert into any_channel values (%1, 1)")
            .arg(id)
            .arg(guild)
            .arg(parent)
            .arg(position));
}

NakSbar::Item SbarWorld::itemOf(NakSbar::Kind kind, quint64 id)
{
    auto const& infos = priv().infos;
    for (NakSbar::Item item = 0; item < infos.size(); ++item) {
        if (infos[item].kind == kind && (infos[item].words[0] == id || infos[item].words[1] == id))
            return item;
    }
    return NakSbar::noItem;
}

QPoint SbarWorld::pointOf(NakSbar::Item item)
{
    return NakSbar::headerRect(priv(), item).center();
}

QStringList shownRows(NakSbarView& view)
{
    NakSbar::ViewPriv const& d = view.priv();
    QStringList lines;
    for (LitVisibleItem const& visible : view.visibleItems()) {
        NakSbar::Vis_Base const* const vis = d.vis.find(visible.item);
        if (!vis)
            continue;
        QString line = vis->shown.text;
        line += QLatin1String(NakSbar::isCollapsed(d, visible.item) ? " +" : "");
        if (vis->shown.badge != NakSbar::BadgeKind::None)
            line += QLatin1Char(' ') + QString::number(vis->shown.number);
        lines.append(line);
    }
    return lines;
}
