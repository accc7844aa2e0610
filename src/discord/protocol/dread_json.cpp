// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dread_json.h"

#include <QtGlobal>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cmath>
#include <cstdlib>
#include <limits>

namespace DreadJson {

namespace {

constexpr unsigned maxDepth = 255; // of containers within each other
constexpr std::size_t blockSize = 65536; // bytes, of the document's allocator
constexpr std::size_t writerLevels = 32; // levels of 16 bytes, the writer's first stack
constexpr int firstGrowth = 128; // bytes
constexpr int lastGrowth = 0x3FFFFFFF; // an array larger than this grows no more

// Not of full precision: that one reads numbers below the smallest double as anything at all, while
// this one is off by the last digit at most.
constexpr unsigned parseFlags = rapidjson::kParseInsituFlag;

// --- to Dread ---

// Between reader and document: ends the parse where the tree would refuse the depth anyway. The
// reader recurses, so this is also what keeps hostile text from the end of the stack.
class BoundedHandler {
public:
    using Ch = char;

    explicit BoundedHandler(rapidjson::Document& document)
        : m_document(document)
    {
    }
    bool isTooDeep() const { return m_tooDeep; }

    bool Null() { return m_document.Null(); }
    bool Bool(bool value) { return m_document.Bool(value); }
    bool Int(int value) { return m_document.Int(value); }
    bool Uint(unsigned value) { return m_document.Uint(value); }
    bool Int64(std::int64_t value) { return m_document.Int64(value); }
    bool Uint64(std::uint64_t value) { return m_document.Uint64(value); }
    bool Double(double value) { return m_document.Double(value); }
    bool RawNumber(Ch const* text, rapidjson::SizeType length, bool copy)
    {
        return m_document.RawNumber(text, length, copy);
    }
    bool String(Ch const* text, rapidjson::SizeType length, bool copy)
    {
        return m_document.String(text, length, copy);
    }
    bool Key(Ch const* text, rapidjson::SizeType length, bool copy)
    {
        return m_document.Key(text, length, copy);
    }
    bool StartObject() { return enter() && m_document.StartObject(); }
    bool StartArray() { return enter() && m_document.StartArray(); }
    bool EndObject(rapidjson::SizeType members)
    {
        --m_depth;
        return m_document.EndObject(members);
    }
    bool EndArray(rapidjson::SizeType elements)
    {
        --m_depth;
        return m_document.EndArray(elements);
    }

private:
    bool enter()
    {
        m_tooDeep = ++m_depth > maxDepth;
        return !m_tooDeep;
    }

    rapidjson::Document& m_document;
    unsigned m_depth = 0;
    bool m_tooDeep = false;
};

// What rapidjson::Document::Populate calls to be filled.
struct BoundedParse {
    char* text;
    rapidjson::ParseResult result;
    bool tooDeep = false;

    bool operator()(rapidjson::Document& document)
    {
        rapidjson::InsituStringStream stream(text);
        rapidjson::Reader reader;
        BoundedHandler handler(document);
        result = reader.Parse<parseFlags>(stream, handler);
        tooDeep = handler.isTooDeep();
        return !result.IsError();
    }
};

struct BuildState {
    Dread::Ctx* ctx;
    BuildCode code;

    bool fail(BuildCode failure)
    {
        code = failure;
        return false;
    }
};

bool buildRecursive(BuildState& state, quint32 offset, rapidjson::Value const& value,
                    unsigned depth);

bool buildNumber(BuildState& state, quint32 offset, rapidjson::Value const& value)
{
    if (value.IsInt()) {
        int const number = value.GetInt();
        if (number >= 0 && number <= 255) {
            Dread::setUint8(state.ctx, offset, static_cast<quint8>(number));
        } else {
            Dread::setInt32(state.ctx, offset, number);
        }
    } else if (value.IsInt64()) {
        Dread::setInt64(state.ctx, offset, value.GetInt64());
    } else if (value.IsUint64()) {
        Dread::setUint64(state.ctx, offset, value.GetUint64());
    } else if (value.IsDouble() && std::isfinite(value.GetDouble())) {
        Dread::setFloat64(state.ctx, offset, value.GetDouble());
    } else {
        return state.fail(BuildCode::ValueOutOfRange);
    }
    return true;
}

bool buildArray(BuildState& state, quint32 offset, rapidjson::Value const& value, unsigned depth)
{
    Dread::VList list;
    if (Dread::setList(state.ctx, offset, value.Size(), &list) != 0) {
        return state.fail(BuildCode::OutOfMemory);
    }
    for (quint32 i = 0; i < list.count; ++i) {
        if (!buildRecursive(state, list.offset + 24 * i, value[i], depth + 1)) {
            return false;
        }
    }
    return true;
}

bool buildObject(BuildState& state, quint32 offset, rapidjson::Value const& value, unsigned depth)
{
    if (value.MemberCount() == 0xFFFFFFFF) {
        return state.fail(BuildCode::ValueOutOfRange);
    }
    Dread::VMap map;
    if (Dread::setMap(state.ctx, offset, value.MemberCount(), &map) != 0) {
        return state.fail(BuildCode::OutOfMemory);
    }
    quint32 const values = map.offset + 16 * map.count;
    quint32 i = 0;
    for (auto const& member : value.GetObject()) {
        if (member.name.GetStringLength() > std::numeric_limits<quint16>::max()) {
            return state.fail(BuildCode::KeyTooLong);
        }
        Dread::setMapKey(state.ctx, map, i, member.name.GetString(),
                         static_cast<quint16>(member.name.GetStringLength()));
        if (!buildRecursive(state, values + 24 * i, member.value, depth + 1)) {
            return false;
        }
        ++i;
    }
    return true;
}

bool buildRecursive(BuildState& state, quint32 offset, rapidjson::Value const& value,
                    unsigned depth)
{
    if (depth == maxDepth) {
        return state.fail(BuildCode::TooDeep);
    }
    switch (value.GetType()) {
    case rapidjson::kNullType:
        Dread::setNil(state.ctx, offset);
        return true;
    case rapidjson::kFalseType:
        Dread::setBool(state.ctx, offset, false);
        return true;
    case rapidjson::kTrueType:
        Dread::setBool(state.ctx, offset, true);
        return true;
    case rapidjson::kStringType:
        Dread::setString(state.ctx, offset, value.GetString(), value.GetStringLength());
        return true;
    case rapidjson::kNumberType:
        return buildNumber(state, offset, value);
    case rapidjson::kArrayType:
        return buildArray(state, offset, value, depth);
    case rapidjson::kObjectType:
        return buildObject(state, offset, value, depth);
    }
    abort();
}

Result failure(Domain domain, int code, quint64 offset = 0)
{
    Result result;
    result.isError = true;
    result.error = { domain, code, offset };
    return result;
}

Result failure(BuildCode code)
{
    return failure(Domain::Build, static_cast<int>(code));
}

bool isShared(QByteArray* bytes)
{
    return bytes->data_ptr()->ref.atomic.loadRelaxed() >= 2;
}

// --- from Dread ---

// Where a rapidjson::Writer puts the text. Past the last growth bytes are dropped.
class DtJStr_ByteArrayWriteStream {
public:
    using Ch = char;

    explicit DtJStr_ByteArrayWriteStream(QByteArray* bytes)
        : m_bytes(bytes)
    {
        m_bytes->resize(0);
    }
    void Put(Ch c)
    {
        if (m_used == m_capacity && !grow()) {
            return;
        }
        m_data[m_used++] = c;
    }
    void Flush() { }
    void finish() { m_bytes->resize(m_used); }

private:
    bool grow()
    {
        if (m_capacity > lastGrowth) {
            return false;
        }
        m_capacity = m_capacity == 0 ? firstGrowth : 2 * m_capacity;
        m_bytes->resize(m_capacity);
        m_data = m_bytes->data();
        return true;
    }

    QByteArray* m_bytes;
    char* m_data = nullptr;
    int m_used = 0;
    int m_capacity = 0;
};

template <class Writer>
bool buildJsonStringRecursive(Writer& writer, Dread::Ctx const& ctx, Dread::Val const& value,
                              unsigned depth);

template <class Writer>
bool writeList(Writer& writer, Dread::Ctx const& ctx, Dread::VList const& list, unsigned depth)
{
    writer.StartArray();
    for (quint32 i = 0; i < list.count; ++i) {
        if (!buildJsonStringRecursive(writer, ctx, Dread::listAt(ctx, list, i), depth + 1)) {
            return false;
        }
    }
    return writer.EndArray(list.count);
}

template <class Writer>
bool writeMap(Writer& writer, Dread::Ctx const& ctx, Dread::VMap const& map, unsigned depth)
{
    writer.StartObject();
    for (quint32 i = 0; i < map.count; ++i) {
        Dread::Key const& key = Dread::mapKeyAt(ctx, map, i);
        writer.Key(key.data, key.length);
        if (!buildJsonStringRecursive(writer, ctx, Dread::mapValueAt(ctx, map, i), depth + 1)) {
            return false;
        }
    }
    return writer.EndObject(map.count);
}

template <class Writer>
bool buildJsonStringRecursive(Writer& writer, Dread::Ctx const& ctx, Dread::Val const& value,
                              unsigned depth)
{
    if (depth > maxDepth) {
        return false;
    }
    switch (value.tag) {
    case Dread::Tag::Nil:
        return writer.Null();
    case Dread::Tag::Bool:
        return writer.Bool(value.boolean);
    case Dread::Tag::Uint8:
        return writer.Uint(value.uint8);
    case Dread::Tag::Int32:
        return writer.Int(value.int32);
    case Dread::Tag::Int64:
        return writer.Int64(value.int64);
    case Dread::Tag::Uint64:
        return writer.Uint64(value.uint64);
    case Dread::Tag::Float64:
        return writer.Double(value.float64);
    case Dread::Tag::String:
        // The writer asserts on a null pointer, which an empty string may have.
        return value.stringLength == 0
            ? writer.String("", 0)
            : writer.String(value.stringData, static_cast<quint32>(value.stringLength));
    case Dread::Tag::List:
        return writeList(writer, ctx, value.list, depth);
    case Dread::Tag::Map:
        return writeMap(writer, ctx, value.map, depth);
    }
    abort();
}

template <class Stream>
bool writeJson(Stream& stream, Dread::Ctx const& ctx, Dread::Val const& value)
{
    rapidjson::Writer<Stream> writer(stream, nullptr, writerLevels);
    return buildJsonStringRecursive(writer, ctx, value, 0);
}

} // namespace

Result jsonToDread(Dread::Ctx* ctx, QByteArray* json)
{
    if (isShared(json)) {
        qWarning("DreadJson::jsonToDread: Byte array of JSON string is not detached, causing a "
                 "copy");
    }
    json->detach();
    rapidjson::MemoryPoolAllocator<> allocator(blockSize);
    rapidjson::Document document(&allocator);
    BoundedParse parse{ json->data(), {} };
    document.Populate(parse);
    if (parse.tooDeep) {
        return failure(BuildCode::TooDeep);
    }
    if (parse.result.IsError()) {
        return failure(Domain::Parse, parse.result.Code(), parse.result.Offset());
    }
    if (!Dread::ensureMoreCapacity(ctx, sizeof(Dread::Val))) {
        return failure(BuildCode::OutOfMemory);
    }
    quint32 const root = ctx->used;
    ctx->used += sizeof(Dread::Val);
    BuildState state{ ctx, BuildCode::OutOfMemory };
    if (!buildRecursive(state, root, document, 0)) {
        return failure(state.code);
    }
    Result result;
    result.root = Dread::cellAt(ctx, root);
    return result;
}

bool dreadToJsonString(QByteArray* json, Dread::Ctx const& ctx, Dread::Val const& value)
{
    DtJStr_ByteArrayWriteStream stream(json);
    bool const written = writeJson(stream, ctx, value);
    stream.finish();
    return written;
}

bool dreadToJsonString(rapidjson::StringBuffer* json, Dread::Ctx const& ctx,
                       Dread::Val const& value)
{
    json->Clear();
    return writeJson(*json, ctx, value);
}

} // namespace DreadJson
