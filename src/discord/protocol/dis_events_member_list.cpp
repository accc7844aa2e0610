// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_event_handlers.h"
#include "dis_member_list.h"
#include "dis_store_rows.h"
#include "dis_store_updates.h"
#include "event_log.h"

namespace DisClientImpl {

namespace {

// More than any guild has or any answer holds; whoever sends more is not trusted with our memory.
constexpr quint32 maxGroups = 1'000;
constexpr quint32 maxOps = 1'000;

// Reads the operations of one event. The first failure ends it, with its line.
class MemberListReader {
public:
    MemberListReader(Dread::Ctx const& ctx, DisMemberListUpdate* update)
        : m_ctx(ctx)
        , m_update(update)
    {
    }

    bool read(Dread::VMap const& data)
    {
        Dread::VList groups;
        Dread::VList ops;
        Dread::find(m_ctx, data, "groups", &groups);
        Dread::find(m_ctx, data, "ops", &ops);
        if (groups.count > maxGroups || ops.count > maxOps)
            return false;
        for (quint32 i = 0; i < groups.count; ++i) {
            if (!readGroup(Dread::listAt(m_ctx, groups, i)))
                return false;
        }
        for (quint32 i = 0; i < ops.count; ++i) {
            Dread::VMap op;
            Dread::toMap(&Dread::listAt(m_ctx, ops, i), &op);
            if (!readOp(op))
                return false;
        }
        return true;
    }

private:
    bool fail(char const* line)
    {
        m_update->failure = line;
        return false;
    }

    bool readGroupId(Dread::VMap const& map, DisSeg::GroupId* id)
    {
        Dread::VString text;
        Dread::find(m_ctx, map, "id", &text);
        if (DisRows::equals(text, "online"))
            id->kind = DisSeg::GroupKind::Online;
        else if (DisRows::equals(text, "offline"))
            id->kind = DisSeg::GroupKind::Offline;
        else
            Dread::find(m_ctx, map, "id", &id->roleId);
        return id->kind != DisSeg::GroupKind::Role || id->roleId.isValid();
    }

    bool readGroup(Dread::Val const& value)
    {
        Dread::VMap map;
        if (!Dread::toMap(&value, &map))
            return fail("Group list item is not a map");
        DisSeg::Group group;
        if (!readGroupId(map, &group.id) || !Dread::find(m_ctx, map, "count", &group.count)
            || group.count < 0)
            return fail("Bad group decl in groups");
        m_update->package.groups.append(group);
        return true;
    }

    bool readItem(Dread::VMap const& map, DisSeg::Item* item)
    {
        Dread::VMap member;
        if (Dread::find(m_ctx, map, "member", &member)) {
            Dread::VMap user;
            Dread::find(m_ctx, member, "user", &user);
            Dread::find(m_ctx, user, "id", &item->userId);
            if (item->userId.isValid())
                m_update->members.append(member);
            return item->userId.isValid();
        }
        Dread::VMap group;
        return Dread::find(m_ctx, map, "group", &group) && readGroupId(group, &item->group);
    }

    bool readOp(Dread::VMap const& map)
    {
        struct Row {
            char const* name;
            bool (MemberListReader::*read)(Dread::VMap const& map, DisSeg::Op* op);
            DisSeg::OpType type;
        };
        static constexpr Row rows[] = {
            { "INSERT", &MemberListReader::readInsert, DisSeg::OpType::Insert },
            { "UPDATE", &MemberListReader::readUpdate, DisSeg::OpType::Update },
            { "DELETE", &MemberListReader::readDelete, DisSeg::OpType::Delete },
            { "SYNC", &MemberListReader::readSync, DisSeg::OpType::Sync },
        };
        Dread::VString name;
        if (!Dread::find(m_ctx, map, "op", &name))
            return fail("Op string not found");
        for (Row const& row : rows) {
            if (!DisRows::equals(name, row.name))
                continue;
            DisSeg::Op op;
            op.type = row.type;
            if (!(this->*row.read)(map, &op))
                return false;
            m_update->package.ops.append(op);
            return true;
        }
        return fail("Unrecognized op type");
    }

    bool readIndex(Dread::VMap const& map, DisSeg::Op* op)
    {
        return Dread::find(m_ctx, map, "index", &op->index) && op->index >= 0;
    }

    struct ItemLines {
        char const* noIndex;
        char const* noItem;
        char const* badItem;
    };

    bool readIndexAndItem(Dread::VMap const& map, DisSeg::Op* op, ItemLines const& lines)
    {
        if (!readIndex(map, op))
            return fail(lines.noIndex);
        Dread::VMap itemMap;
        if (!Dread::find(m_ctx, map, "item", &itemMap))
            return fail(lines.noItem);
        DisSeg::Item item;
        if (!readItem(itemMap, &item))
            return fail(lines.badItem);
        op->items.append(item);
        return true;
    }

    bool readInsert(Dread::VMap const& map, DisSeg::Op* op)
    {
        // The last word is misspelt on purpose: the line is known by it.
        return readIndexAndItem(map, op,
                                { "Missing index for Insert op", "Missing item for Insert op",
                                  "Invalid item for Insert opt" });
    }

    bool readUpdate(Dread::VMap const& map, DisSeg::Op* op)
    {
        return readIndexAndItem(map, op,
                                { "Missing index for Update op", "Missing item for Update op",
                                  "Invalid item for Update op" });
    }

    bool readDelete(Dread::VMap const& map, DisSeg::Op* op)
    {
        return readIndex(map, op) || fail("Missing index for Delete op");
    }

    static bool toRangeEnd(Dread::Val const& value, int* end)
    {
        bool const isUint8 = value.tag == Dread::Tag::Uint8;
        *end = isUint8 ? value.uint8 : value.int32;
        return isUint8 || value.tag == Dread::Tag::Int32;
    }

    bool readRange(Dread::Val const& value, DisSeg::Op* op)
    {
        if (value.tag == Dread::Tag::String) {
            // A list of small integers may travel as a string of bytes.
            Dread::VString const bytes = value.string();
            if (bytes.length != 2)
                return fail("Sync range string is not length 2");
            op->index = static_cast<quint8>(bytes.data[0]);
            op->last = static_cast<quint8>(bytes.data[1]);
            return true;
        }
        if (value.tag != Dread::Tag::List)
            return fail("Sync range is not string or list");
        if (value.list.count != 2)
            return fail("Sync range list is not count of 2");
        if (!toRangeEnd(Dread::listAt(m_ctx, value.list, 0), &op->index)
            || !toRangeEnd(Dread::listAt(m_ctx, value.list, 1), &op->last))
            return fail("Sync range list element is not uint8 or int32");
        return true;
    }

    // Rounds down, so that rows -1 and 0 are of different chunks.
    static int chunkOf(int row)
    {
        return row < 0 ? (row + 1) / DisSeg::chunkSize - 1 : row / DisSeg::chunkSize;
    }

    bool readSync(Dread::VMap const& map, DisSeg::Op* op)
    {
        Dread::Val const* const range = Dread::findVal(m_ctx, map, "range");
        if (!range)
            return fail("Range not found");
        Dread::Val const* const items = Dread::findVal(m_ctx, map, "items");
        if (!items)
            return fail("Items not found");
        if (items->tag != Dread::Tag::List && items->tag != Dread::Tag::Nil)
            return fail("Items is not a list or nil");
        if (!readRange(*range, op))
            return false;
        if (chunkOf(op->index) != chunkOf(op->last))
            return fail("Range is not same chunk index");
        if (op->index < 0 || op->last < 0)
            return fail("Range chunk index is negative");
        return items->tag == Dread::Tag::Nil || readSyncItems(items->list, op);
    }

    bool readSyncItems(Dread::VList const& list, DisSeg::Op* op)
    {
        if (list.count > static_cast<quint32>(DisSeg::chunkSize))
            return false;
        for (quint32 i = 0; i < list.count; ++i) {
            Dread::VMap map;
            if (!Dread::toMap(&Dread::listAt(m_ctx, list, i), &map))
                return fail("Sync list item is not a map");
            DisSeg::Item item;
            if (!readItem(map, &item))
                return fail("Sync item is invalid");
            op->items.append(item);
        }
        return true;
    }

    Dread::Ctx const& m_ctx;
    DisMemberListUpdate* m_update;
};

void logWarning(QString const& line)
{
    EvLogGlobal::addLogEvent(EvLog::Category::Networking, EvLog::Severity::Warn, line);
}

} // namespace

DisMemberListUpdate readMemberListUpdate(Dread::Ctx const& ctx, Dread::VMap const& data)
{
    DisMemberListUpdate update;
    Dread::VString listId;
    Dread::find(ctx, data, "guild_id", &update.package.guildId);
    Dread::find(ctx, data, "id", &listId);
    if (!update.package.guildId.isValid() || listId.length == 0)
        return update;
    update.hasIds = true;
    update.package.listId = Dread::toQString(listId);
    update.package.isEveryone = DisRows::equals(listId, "everyone");
    update.ok = MemberListReader(ctx, &update).read(data);
    return update;
}

// All is read before anything is written, so that a discarded update leaves no rows.
void Handle::guildMemberListUpdate(DisEvent& event)
{
    DisMemberListUpdate const update = readMemberListUpdate(event.ctx, event.data);
    if (!update.hasIds)
        return;
    if (!update.ok) {
        if (update.failure)
            logWarning(QLatin1String(update.failure));
        logWarning(QStringLiteral("Discarding weird guild member list update"));
        return;
    }
    DisTransaction const transaction(event.db);
    for (Dread::VMap const& member : update.members)
        updateWithGuildMember(event.db, update.package.guildId, event.ctx, member);
    event.outcome.segPackage = update.package;
}

} // namespace DisClientImpl
