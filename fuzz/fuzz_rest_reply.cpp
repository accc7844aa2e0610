// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Any bytes as the body of a REST reply, through whatever reads one.
//
// The first byte says who asked; its highest bit, that the rest is compressed, and the next, that
// the rest is not the body but draws for one of the right shape.

#include "dis_events.h"
#include "dis_request.h"
#include "dread_json.h"
#include "event_maker.h"
#include "fuzz_store.h"
#include "gateway_protocol.h"

namespace {

constexpr std::size_t maxInput = 1 << 14;
constexpr qint64 maxBody = 1 << 18;
constexpr FlakeId id(20);

using Data = std::shared_ptr<DisClientOp::DreadFetchData>;

void readHistory(Store& store, Data const& data)
{
    if (data->root.tag != Dread::Tag::List)
        return;
    int const count =
        DisClientImpl::writeHistoryPage(store.prepared, {}, data->ctx, data->root.list);
    check(count > static_cast<int>(data->root.list.count) ? "more messages than elements" : "");
}

void readPins(Store& store, Data const& data)
{
    if (data->root.tag == Dread::Tag::List)
        check(StoreInvariants::broken(
            DisClientImpl::writePinnedMessages(store.prepared, id, data->ctx, data->root.list)));
}

void readBans(Store& store, Data const& data)
{
    if (data->root.tag == Dread::Tag::List)
        check(StoreInvariants::broken(
            DisClientImpl::writeGuildBans(store.prepared, id, data->ctx, data->root.list)));
}

void readAuditLog(Store&, Data const& data)
{
    DisClientAuditLogFetchOp op(nullptr);
    op.finishWith(data);
    bool const isRead = op.error() == DisRequest::Error::None;
    check(!op.isFinished() || isRead != (op.fetchedData() != nullptr) ? "half an audit log" : "");
    if (isRead)
        (void)Dread::prettyPrint(data->ctx, op.fetchedData()->entries);
}

// Invites, emojis, mentions.
void readWhole(Store&, Data const& data)
{
    DisDreadFetchOp op(nullptr);
    op.finishWith(data);
    check(op.fetchedData() != data ? "a tree that is not handed on" : "");
    (void)readInviteInfo(*data);
}

struct Reply {
    void (*read)(Store& store, Data const& data);
    char const* shape; // of the list's elements
};

constexpr Reply replies[] = {
    { readHistory, "message" }, { readPins, "message" }, { readBans, "ban" },
    { readAuditLog, "user" },   { readWhole, "emoji" },
};

// What is a text in an object: the next acknowledgement's token, the gateway's address; and a
// failure's body, which is logged.
void readTexts(RestHelpers::Body const& body)
{
    QString const token = QStringLiteral("secret-token");
    if (auto const url = DisClientOp::textInBody(body, maxBody, "url"))
        (void)DisGateway::versionedGatewayUrl(*url, true);
    (void)DisClientOp::textInBody(body, maxBody, "token");
    auto const text = RestHelpers::inflatedBody(body, maxBody);
    check(text && text->size() > maxBody && body.gzip ? "a body over the bound" : "");
    QString const logged =
        DisGateway::loggable(QString::fromUtf8(text.value_or(QByteArray())), token);
    check(logged.contains(token) ? "a token in the log" : "");
}

// The draws as the JSON of a list.
QByteArray drawnBody(std::uint8_t const* data, std::size_t size, char const* shape)
{
    std::size_t at = 0;
    EventMaker maker([&](quint32 below) { return at < size ? data[at++] % below : 0; });
    maker.makeList(shape);
    QByteArray json;
    (void)DreadJson::dreadToJsonString(&json, maker.ctx(), maker.data());
    return json;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    if (size < 1 || size > maxInput)
        return 0;
    static Store store;
    Reply const& reply = replies[(data[0] & 63U) % std::size(replies)];
    RestHelpers::Body body;
    body.gzip = (data[0] & 128U) != 0;
    body.bytes = (data[0] & 64U) != 0
        ? drawnBody(data + 1, size - 1, reply.shape)
        : QByteArray(reinterpret_cast<char const*>(data) + 1, static_cast<int>(size - 1));
    readTexts(body);
    if (auto const parsed = DisClientOp::parseBody(body, maxBody)) {
        reply.read(store, parsed);
        check(store.invariants->broken());
        clearDisStore(store.prepared.db);
    }
    return 0;
}
