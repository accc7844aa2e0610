// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_db_prepared.h"
#include "dis_store_rows.h"
#include "dis_store_updates.h"
#include "dread_json.h"
#include "event_log.h"

namespace DisClientImpl {

namespace {

void setPinned(DisDbPrepared& db, FlakeId channelId, FlakeId messageId, bool pinned)
{
    auto const which = pinned ? DisStmt::PinReplace : DisStmt::PinDelete;
    DisSql::run(db[which], channelId, messageId);
}

void insertImageEmbed(DisDbPrepared& db, FlakeId messageId, Dread::Ctx const& ctx,
                      Dread::VMap const& embed)
{
    Dread::VString url;
    Dread::VMap thumbnail;
    Dread::VString thumbnailUrl;
    qint32 width = 0;
    qint32 height = 0;
    Dread::find(ctx, embed, "url", &url);
    Dread::find(ctx, embed, "thumbnail", &thumbnail);
    Dread::find(ctx, thumbnail, "proxy_url", &thumbnailUrl);
    Dread::find(ctx, thumbnail, "width", &width);
    Dread::find(ctx, thumbnail, "height", &height);
    DisSql::run(db[DisStmt::ImageEmbedInsert], messageId, url, thumbnailUrl, width, height);
}

void insertRichEmbed(DisDbPrepared& db, FlakeId messageId, Dread::Ctx const& ctx,
                     Dread::Val const& embed)
{
    QByteArray json;
    if (!DreadJson::dreadToJsonString(&json, ctx, embed)) {
        EvLogGlobal::addLogEvent(
            EvLog::Category::Networking, EvLog::Severity::Warn,
            QStringLiteral("Discord rich embed JSON storage conversion error: %1")
                .arg(QLatin1String("Unknown")));
        return;
    }
    Dread::VString const content{ json.constData(), static_cast<quint32>(json.size()) };
    DisSql::run(db[DisStmt::RichEmbedInsert], messageId, content);
}

void insertAttachment(DisDbPrepared& db, FlakeId messageId, Dread::Ctx const& ctx,
                      Dread::VMap const& map)
{
    Dread::VString fileName;
    Dread::VString url;
    Dread::VString proxyUrl;
    qint32 width = 0;
    qint32 height = 0;
    qint32 size = 0;
    Dread::find(ctx, map, "url", &url);
    Dread::find(ctx, map, "proxy_url", &proxyUrl);
    bool const hasWidth = Dread::find(ctx, map, "width", &width);
    bool const hasHeight = Dread::find(ctx, map, "height", &height);
    if (hasWidth && hasHeight) {
        DisSql::run(db[DisStmt::ImageAttachmentInsert], messageId, url, proxyUrl, width, height);
        return;
    }
    Dread::find(ctx, map, "filename", &fileName);
    Dread::find(ctx, map, "size", &size);
    DisSql::run(db[DisStmt::FileAttachmentInsert], messageId, fileName, url, proxyUrl, size);
}

void insertReaction(DisDbPrepared& db, FlakeId ownUserId, FlakeId messageId, Dread::Ctx const& ctx,
                    Dread::VMap const& map)
{
    Dread::VMap emoji;
    // A Unicode emoji has no id and is stored under the invalid one, never under null: comparing
    // with null could not find the row again.
    FlakeId emojiId;
    Dread::VString emojiName;
    FlakeId userId;
    bool me = false;
    qint32 count = 1;
    Dread::find(ctx, map, "emoji", &emoji);
    Dread::find(ctx, emoji, "id", &emojiId);
    Dread::find(ctx, emoji, "name", &emojiName);
    Dread::find(ctx, map, "user_id", &userId);
    Dread::find(ctx, map, "me", &me);
    Dread::find(ctx, map, "count", &count);
    if (!emojiId.isValid() && emojiName.length == 0)
        return;
    emojiName = DisSql::text(emojiName);
    if (userId.isValid())
        DisSql::run(db[DisStmt::ReactionReplace], messageId, userId, emojiId, emojiName);
    if (me && ownUserId.isValid())
        DisSql::run(db[DisStmt::ReactionReplace], messageId, ownUserId, emojiId, emojiName);
    DisSql::run(db[DisStmt::ReactionCountReplace], messageId, qMax(count, 0), emojiId, emojiName);
}

} // namespace

void updateAllChannelMessageStuff(DisDbPrepared& db, FlakeId ownUserId, Dread::Ctx const& ctx,
                                  Dread::VMap const& map)
{
    FlakeId id;
    Dread::find(ctx, map, "id", &id);
    updateWithChannelMessage(db, ctx, map);
    clearAndUpdateAttachedMessageStuff(db, ownUserId, id, ctx, map);
}

void updateWithChannelMessage(DisDbPrepared& db, Dread::Ctx const& ctx, Dread::VMap const& map)
{
    FlakeId id;
    FlakeId channelId;
    Dread::find(ctx, map, "id", &id);
    Dread::find(ctx, map, "channel_id", &channelId);
    if (!id.isValid() || !channelId.isValid())
        return;
    Dread::VString editedTimestamp;
    bool const edited = Dread::find(ctx, map, "edited_timestamp", &editedTimestamp);

    DisRows::User author;
    Dread::VMap authorMap;
    Dread::find(ctx, map, "author", &authorMap);
    if (DisRows::parseUser(ctx, authorMap, &author))
        db.createOrUpdateUser(author.id, author.name, author.discrim, author.avatar, author.bot);

    db.maxSetChannelLastMessageId(channelId, id);

    qint32 type = 0;
    Dread::VString content;
    bool pinned = false;
    Dread::find(ctx, map, "type", &type);
    Dread::find(ctx, map, "content", &content);
    Dread::find(ctx, map, "pinned", &pinned);
    DisSql::run(db[DisStmt::MessageReplace], id, channelId, author.id, type, edited,
                DisSql::text(content));
    setPinned(db, channelId, id, pinned);

    DisRows::forEachMap(ctx, map, "mentions",
                        [&](Dread::VMap const& user) { db.createUserIfNotExists(ctx, user); });
}

void clearAndUpdateAttachedMessageStuff(DisDbPrepared& db, FlakeId ownUserId, FlakeId messageId,
                                        Dread::Ctx const& ctx, Dread::VMap const& map)
{
    if (!messageId.isValid())
        return;
    Dread::VList list;
    if (Dread::find(ctx, map, "embeds", &list))
        clearAndUpdateMessageEmbeds(db, messageId, ctx, list);
    if (Dread::find(ctx, map, "attachments", &list))
        updateMessageAttachments(db, messageId, ctx, list);
    if (Dread::find(ctx, map, "reactions", &list))
        clearAndUpdateMessageReactions(db, ownUserId, messageId, ctx, list);
}

void clearAndUpdateMessageEmbeds(DisDbPrepared& db, FlakeId messageId, Dread::Ctx const& ctx,
                                 Dread::VList const& embeds)
{
    clearMessageEmbeds(db, messageId);
    for (quint32 i = 0; i < embeds.count; ++i) {
        auto const& embed = Dread::listAt(ctx, embeds, i);
        if (embed.tag != Dread::Tag::Map)
            continue;
        Dread::VString type;
        Dread::find(ctx, embed.map, "type", &type);
        if (DisRows::equals(type, "image"))
            insertImageEmbed(db, messageId, ctx, embed.map);
        else
            insertRichEmbed(db, messageId, ctx, embed);
    }
}

void clearMessageEmbeds(DisDbPrepared& db, FlakeId messageId)
{
    DisSql::run(db[DisStmt::ImageEmbedsDelete], messageId);
    DisSql::run(db[DisStmt::RichEmbedsDelete], messageId);
}

void updateMessageAttachments(DisDbPrepared& db, FlakeId messageId, Dread::Ctx const& ctx,
                              Dread::VList const& attachments)
{
    DisSql::run(db[DisStmt::ImageAttachmentsDelete], messageId);
    DisSql::run(db[DisStmt::FileAttachmentsDelete], messageId);
    DisRows::forEachMap(ctx, attachments,
                        [&](Dread::VMap const& map) { insertAttachment(db, messageId, ctx, map); });
}

void clearAndUpdateMessageReactions(DisDbPrepared& db, FlakeId ownUserId, FlakeId messageId,
                                    Dread::Ctx const& ctx, Dread::VList const& reactions)
{
    DisSql::run(db[DisStmt::ReactionsDeleteOfMessage], messageId);
    DisSql::run(db[DisStmt::ReactionCountsDeleteOfMessage], messageId);
    DisRows::forEachMap(ctx, reactions, [&](Dread::VMap const& map) {
        insertReaction(db, ownUserId, messageId, ctx, map);
    });
}

} // namespace DisClientImpl
