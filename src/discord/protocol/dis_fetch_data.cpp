// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_fetch_data.h"

#include "dread_json.h"
#include "run_on_pool.h"

#include <utility>

namespace DisClientOp {

std::shared_ptr<DreadFetchData> parseBody(RestHelpers::Body const& body, qint64 maxBody)
{
    constexpr quint32 arena = 524'288; // bytes; 100 messages are large
    auto bytes = RestHelpers::inflatedBody(body, maxBody);
    if (!bytes)
        return {};
    auto data = std::make_shared<DreadFetchData>();
    data->body = std::move(*bytes);
    data->body.detach(); // it is parsed in place
    Dread::init(&data->ctx, arena);
    DreadJson::Result const result = DreadJson::jsonToDread(&data->ctx, &data->body);
    if (result.isError)
        return {};
    data->root = result.root;
    return data;
}

std::optional<QString> textInBody(RestHelpers::Body const& body, qint64 maxBody, char const* key)
{
    auto const data = parseBody(body, maxBody);
    Dread::VString text;
    if (!data || data->root.tag != Dread::Tag::Map
        || !Dread::find(data->ctx, data->root.map, key, &text))
        return {};
    return Dread::toQString(text);
}

void parseReply(QNetworkReply* reply, qint64 maxBody, QObject* receiver, ParsedSlot const& function)
{
    Utils::runOnPool(
        receiver,
        [function, body = RestHelpers::takeBody(reply), maxBody]() -> std::function<void()> {
            return [function, data = parseBody(body, maxBody)] { function(data); };
        });
}

} // namespace DisClientOp
