// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_guild_lists.h"

#include "dis_admin_words.h"
#include "dis_cache.h"
#include "dis_client.h"
#include "dis_request.h"
#include "dis_utils.h"
#include "plain_text.h"

#include <QCoreApplication>
#include <QHash>

namespace {

constexpr int auditPage = 50; // entries

QString tr(char const* text)
{
    return QCoreApplication::translate("DisAdmin", text);
}

// Reads of one map of a reply.
struct Entry {
    Dread::Ctx const& ctx;
    Dread::VMap map;

    QString text(char const* key) const
    {
        Dread::VString out;
        Dread::find(ctx, map, key, &out);
        return NakPlainText::titleLine(Dread::toQString(out));
    }
    FlakeId id(char const* key) const
    {
        FlakeId out;
        Dread::find(ctx, map, key, &out);
        return out;
    }
    qint32 number(char const* key) const
    {
        qint32 out = 0;
        Dread::find(ctx, map, key, &out);
        return out;
    }
    Entry child(char const* key) const
    {
        Entry out{ ctx, {} };
        Dread::find(ctx, map, key, &out.map);
        return out;
    }
};

template <typename Read>
void forEachEntry(Dread::Ctx const& ctx, Dread::VList const& list, Read read)
{
    for (quint32 n = 0; n < list.count; ++n) {
        Entry entry{ ctx, {} };
        if (Dread::toMap(&Dread::listAt(ctx, list, n), &entry.map))
            read(entry);
    }
}

QString personText(Entry const& user)
{
    QString const name = user.text("username");
    QString const number = user.text("discriminator");
    return number.isEmpty() || number == QLatin1String("0") ? name : name + u'#' + number;
}

// The rows of a reply that is a list of maps.
template <typename MakeRow> QVector<DisRemoteRow> rowsOf(DisRequest const& request, MakeRow makeRow)
{
    QVector<DisRemoteRow> rows;
    auto const data = static_cast<DisDreadFetchOp const&>(request).fetchedData();
    if (data->root.tag == Dread::Tag::List)
        forEachEntry(data->ctx, data->root.list, [&](Entry const& entry) {
            DisRemoteRow row = makeRow(entry);
            if (!row.id.isEmpty())
                rows.append(row);
        });
    return rows;
}

DisRemoteRow banRow(Entry const& ban)
{
    Entry const user = ban.child("user");
    FlakeId const id = user.id("id");
    return { id.isValid() ? id.toString() : QString(), { personText(user), ban.text("reason") } };
}

DisRemoteRow inviteRow(Entry const& invite)
{
    QString const code = invite.text("code");
    qint32 const maxUses = invite.number("max_uses");
    qint32 const maxAge = invite.number("max_age");
    QString const uses = QString::number(invite.number("uses"));
    QDateTime const made = QDateTime::fromString(invite.text("created_at").left(19), Qt::ISODate);
    QDateTime const end = QDateTime(made.date(), made.time(), Qt::UTC).addSecs(maxAge);
    return { code,
             { code, u'#' + invite.child("channel").text("name"),
               personText(invite.child("inviter")),
               maxUses > 0 ? tr("%1 of %2").arg(uses).arg(maxUses) : uses,
               maxAge > 0 ? DisAdminWords::moment(end) : DisAdminWords::validity(0) } };
}

// What an entry was done to, as far as anybody here knows it.
QString targetText(FlakeId target, QHash<FlakeId, QString> const& people)
{
    if (!target.isValid())
        return {};
    if (people.contains(target))
        return people.value(target);
    for (QString const& name :
         { DisCache::guildChannelDisplayName(target), DisUtils::findRoleName(target),
           DisCache::userName(target), DisUtils::getCanonicalNameOfEmoji(target) }) {
        if (!name.isEmpty())
            return NakPlainText::titleLine(name);
    }
    return target.toString();
}

QVector<DisRemoteRow> auditRows(DisAuditLog::AuditLogFetchData const& log)
{
    Dread::Ctx const& ctx = log.fetched->ctx;
    QHash<FlakeId, QString> people;
    forEachEntry(ctx, log.users,
                 [&](Entry const& user) { people.insert(user.id("id"), personText(user)); });
    QVector<DisRemoteRow> rows;
    forEachEntry(ctx, log.entries, [&](Entry const& entry) {
        FlakeId const id = entry.id("id");
        if (!id.isValid())
            return;
        rows.append({ id.toString(),
                      { DisAdminWords::moment(id.toDateTime_Discord()),
                        targetText(entry.id("user_id"), people),
                        DisAdminWords::auditAction(entry.number("action_type")),
                        targetText(entry.id("target_id"), people), entry.text("reason") } });
    });
    return rows;
}

} // namespace

DisRemoteList DisGuildLists::bans(FlakeId user, FlakeId guild)
{
    DisRemoteList list;
    list.headers = QStringList{ tr("User"), tr("Reason") };
    list.wideColumn = 1;
    list.empty = { tr("Nobody is banned."), {} };
    list.fetch = [=](QString const&, QObject* parent) {
        return g_disClient->fetchGuildBans(user, guild, parent);
    };
    list.read = [](DisRequest const& request) { return rowsOf(request, banRow); };
    list.actionText = tr("&Unban\u2026");
    list.question = [](DisRemoteRow const& row) {
        return NakQuestion{ tr("Unban"), tr("Are you sure you want to unban %1?").arg(row.cells[0]),
                            tr("Unban") };
    };
    list.act = [=](DisRemoteRow const& row, QObject* parent) {
        return g_disClient->removeGuildBan(user, guild, FlakeId::fromString(row.id), parent);
    };
    return list;
}

DisRemoteList DisGuildLists::invites(FlakeId user, FlakeId guild)
{
    DisRemoteList list;
    list.headers =
        QStringList{ tr("Code"), tr("Channel"), tr("Made by"), tr("Uses"), tr("Valid until") };
    list.wideColumn = 1;
    list.empty = { tr("There are no invites."),
                   tr("A text channel\u2019s menu in the side bar makes one.") };
    list.fetch = [=](QString const&, QObject* parent) {
        return g_disClient->fetchGuildInvites(user, guild, parent);
    };
    list.read = [](DisRequest const& request) { return rowsOf(request, inviteRow); };
    list.actionText = tr("Re&voke\u2026");
    list.question = [](DisRemoteRow const& row) {
        return NakQuestion{ tr("Revoke Invite"),
                            tr("Are you sure you want to revoke the invite %1?").arg(row.id),
                            tr("Revoke") };
    };
    list.act = [=](DisRemoteRow const& row, QObject* parent) {
        return g_disClient->removeGuildInvite(user, row.id, parent);
    };
    list.copyText = [](DisRemoteRow const& row) { return DisAdminWords::inviteLink(row.id); };
    return list;
}

DisRemoteList DisGuildLists::auditLog(FlakeId user, FlakeId guild)
{
    DisRemoteList list;
    list.headers =
        QStringList{ tr("When"), tr("Who"), tr("What"), tr("Whom or what"), tr("Reason") };
    list.wideColumn = 4;
    list.empty = { tr("Nothing has been logged."), {} };
    list.pageSize = auditPage;
    list.fetch = [=](QString const& after, QObject* parent) {
        DisClientAuditLogFetchParams params;
        params.before = FlakeId::fromString(after);
        params.limit = auditPage;
        return g_disClient->fetchAuditLog(user, guild, params, parent);
    };
    list.read = [](DisRequest const& request) {
        return auditRows(*static_cast<DisClientAuditLogFetchOp const&>(request).fetchedData());
    };
    return list;
}
