// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "packed_session.h"
#include "wire_client.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace {

QByteArray readData(QString const& name)
{
    QFile file(QStringLiteral(NAKWIRE_TEST_DATA "/") + name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(name);
    return file.readAll();
}

QByteArray etf(std::string const& name)
{
    return readData(QStringLiteral("etf/%1.etf").arg(QString::fromStdString(name)));
}

std::string jsonText(QJsonValue const& value)
{
    return QJsonDocument(QJsonArray{ value }).toJson(QJsonDocument::Compact).toStdString();
}

std::string nested(int depth, char const* open, char const* inner, char const* close)
{
    std::string text = inner;
    for (int i = 0; i < depth; ++i)
        text = open + text + close;
    return text;
}

std::string numbersTo(int last)
{
    std::string text = "1";
    for (int i = 2; i <= last; ++i)
        text += ',' + std::to_string(i);
    return text;
}

} // namespace

// Terms made by Erlang, worded as JSON in a list. Written again they give the same bytes, but for
// the one that Erlang compressed.
TEST(StageEtf, ReadsAndWritesAsErlangDoes)
{
    char const* const refused = "";
    std::string channels;
    for (int i = 0; i < 200; ++i)
        channels += R"({"id":"175928847299117063","name":"general","nsfw":false,"type":0},)";
    channels.pop_back();
    struct Case {
        char const* name;
        std::string json;
    };
    Case const cases[] = {
        { "atom_nil", "null" },
        { "atom_true", "true" },
        { "atom_false", "false" },
        { "atom_other", R"("online")" },
        { "atom_empty", R"("")" },
        { "int_0", "0" },
        { "int_1", "1" },
        { "int_255", "255" },
        { "int_256", "256" },
        { "int_minus_1", "-1" },
        { "int_min32", "-2147483648" },
        { "int_max32", "2147483647" },
        { "big_2p31", R"("2147483648")" },
        { "big_minus_2p31_1", R"("-2147483649")" },
        { "big_snowflake", R"("175928847299117063")" },
        { "big_2p63_minus_1", R"("9223372036854775807")" },
        { "big_2p63", R"("9223372036854775808")" },
        { "big_minus_2p63", R"("-9223372036854775808")" },
        { "big_minus_2p63_1", refused },
        { "big_2p64_minus_1", R"("18446744073709551615")" },
        { "big_2p64", refused },
        { "float_1_5", "1.5" },
        { "float_minus_0_1", "-0.1" },
        { "binary_empty", R"("")" },
        { "binary_utf8", "\"h\u00e9llo \U0001F600\"" },
        { "binary_70000", '"' + std::string(70'000, 'x') + '"' },
        { "string_ext", "[1,2,3]" },
        { "string_ext_255", '[' + numbersTo(255) + ']' },
        { "list_empty", "[]" },
        { "list_mixed", R"([1,"two",null,[3]])" },
        { "list_improper", refused },
        { "list_improper_in_map", refused },
        { "map_empty", "{}" },
        { "map_atom_keys", R"({"d":{"heartbeat_interval":41250},"op":10,"s":null,"t":null})" },
        { "map_binary_keys", R"({"op":0,"s":42,"t":"READY"})" },
        { "map_key_true", R"({"nil":null,"true":true})" },
        { "map_int_key", refused },
        { "tuple_unsupported", refused },
        { "pid_like_unsupported", refused },
        { "nest_list_256", nested(256, "[", R"("x")", "]") },
        { "nest_list_257", refused },
        { "nest_map_256", nested(255, R"({"k":)", "{}", "}") },
        { "nest_map_257", refused },
        { "compressed_list", '[' + channels + ']' },
    };
    EXPECT_EQ(std::size(cases), 44U);
    for (Case const& one : cases) {
        QByteArray const bytes = etf(one.name);
        auto const term = stage::decodeTerm(bytes);
        EXPECT_EQ(term ? jsonText(stage::toJson(*term)) : "[" + one.json + "]",
                  "[" + one.json + "]")
            << one.name;
        EXPECT_EQ(term.has_value(), !one.json.empty()) << one.name;
        bool const isCompressed = bytes[1] == 'P';
        EXPECT_TRUE(!term || isCompressed || stage::encodeTerm(*term) == bytes) << one.name;
    }
}

TEST(StageEtf, EveryCutIsRefused)
{
    for (char const* name : { "map_atom_keys", "list_mixed", "compressed_list", "big_snowflake" }) {
        QByteArray const whole = etf(name);
        for (int size = 0; size < whole.size(); ++size)
            EXPECT_FALSE(stage::decodeTerm(whole.left(size))) << name << " cut at " << size;
    }
    EXPECT_FALSE(stage::decodeTerm(etf("int_0") + 'x'));
    // Counts far beyond the bytes that are there.
    for (char const tag : { 'l', 't', 'm' })
        EXPECT_FALSE(stage::decodeTerm(QByteArray("\x83") + tag + "\xff\xff\xff\xffj")) << tag;
}

TEST(StageEtf, IdentifiersAndKeysAsAsked)
{
    QJsonObject const d{ { QStringLiteral("id"), QStringLiteral("175928847299117063") },
                         { QStringLiteral("name"), QStringLiteral("175928847299117063") },
                         { QStringLiteral("session_id"), QStringLiteral("0001") } };
    stage::Term const term = stage::fromJson(d);
    QByteArray const binaries = stage::encodeTerm(term);
    EXPECT_EQ(binaries.count(QByteArray("m\0\0\0\2id", 7)), 1);
    EXPECT_EQ(binaries.count("175928847299117063"), 2);
    QByteArray const integers = stage::encodeTerm(term, { true, true });
    EXPECT_EQ(integers.count(QByteArray("d\0\2id", 5)), 1);
    EXPECT_EQ(integers.count(QByteArray("n\10\0", 3)), 1);
    EXPECT_EQ(integers.count("175928847299117063"), 1); // the name stays text
    EXPECT_EQ(integers.count("0001"), 1);
    EXPECT_EQ(jsonText(stage::toJson(*stage::decodeTerm(integers))), jsonText(d));
}

TEST(StageEtf, ThePackedSessionReadsAsItsJson)
{
    QList<QByteArray> lines = readData(QStringLiteral("gateway/session.jsonl")).split('\n');
    lines.removeAll(QByteArray());
    WireClient client;
    for (QByteArray const& message : packedSession())
        client.receive(message);
    EXPECT_EQ(client.broken, 0);
    ASSERT_EQ(client.frames.size(), 176);
    ASSERT_EQ(lines.size(), 176);
    for (int i = 0; i < lines.size(); ++i)
        EXPECT_EQ(jsonText(client.frames[i]), jsonText(QJsonDocument::fromJson(lines[i]).object()))
            << "frame " << i;
}
