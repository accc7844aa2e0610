// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_servers_model.h"

#include "dis_avatar_images.h"
#include "dis_cache.h"
#include "dis_client.h"
#include "dis_guild_picture.h"
#include "nak_stmt.h"
#include "plain_text.h"

#include <algorithm>

namespace {

constexpr int pictureSize = 24;

// A guild that the user's order does not name yet is a new one and comes first.
constexpr char guildsSql[] =
    "select guild_member.guild_id from guild_member left join user_guild_position"
    " on user_guild_position.user_id = guild_member.user_id"
    " and user_guild_position.guild_id = guild_member.guild_id"
    " where guild_member.user_id = ?"
    " order by user_guild_position.position, guild_member.guild_id desc";

} // namespace

DisServersModel::DisServersModel(QObject* parent)
    : QAbstractListModel(parent)
{
    if (g_disAvatarImages)
        connect(g_disAvatarImages, &DisAvatarImages::guildIconPresented, this,
                &DisServersModel::pictureCame);
}

DisServersModel::~DisServersModel() = default;

void DisServersModel::load(FlakeId user)
{
    QVector<FlakeId> guilds;
    if (user.isValid()) {
        NakStmt stmt(g_disClient->db(), guildsSql);
        stmt.bind(1, user);
        while (stmt.step())
            guilds.append(stmt.colFlake(0));
    }
    beginResetModel();
    m_guilds = guilds;
    endResetModel();
}

int DisServersModel::rowCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : m_guilds.size();
}

QVariant DisServersModel::data(QModelIndex const& index, int role) const
{
    FlakeId const guild = m_guilds.at(index.row());
    if (role == Qt::DecorationRole)
        return disGuildPicture(guild, pictureSize);
    if (role != Qt::DisplayRole)
        return {};
    QString const name = NakPlainText::titleLine(DisCache::guildName(guild));
    return name.isEmpty() ? QStringLiteral("...") : name;
}

// Rows are dropped between rows, never on one.
Qt::ItemFlags DisServersModel::flags(QModelIndex const& index) const
{
    if (!index.isValid())
        return Qt::ItemIsDropEnabled;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled
        | Qt::ItemNeverHasChildren;
}

bool DisServersModel::moveRows(QModelIndex const& from, int row, int count, QModelIndex const& to,
                               int before)
{
    bool const isInside =
        row >= 0 && before >= 0 && row < m_guilds.size() && before <= m_guilds.size() && count == 1;
    if (!isInside || !beginMoveRows(from, row, row, to, before))
        return false;
    m_guilds.move(row, before > row ? before - 1 : before);
    endMoveRows();
    return true;
}

void DisServersModel::pictureCame(FlakeId guild)
{
    int const row = m_guilds.indexOf(guild);
    if (row >= 0)
        emit dataChanged(index(row), index(row), { Qt::DecorationRole });
}
