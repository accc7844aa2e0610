// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "stage_etf.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtEndian>

#include <gtest/gtest.h>
#include <zlib.h>

namespace {

QByteArray readData(QString const& name)
{
    QFile file(QStringLiteral(NAKWIRE_TEST_DATA "/") + name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(name);
    return file.readAll();
}

QByteArray etf(char const* name)
{
    return readData(QStringLiteral("etf/%1.etf").arg(QString::fromLatin1(name)));
}

std::string jsonText(QJsonValue const& value)
{
    return QJsonDocument(QJsonArray{ value }).toJson(QJsonDocument::Compact).toStdString();
}

// The term of a file made by Erlang, worded as JSON in a list; "error" if it is refused.
std::string decoded(char const* name)
{
    auto const term = stage::decodeTerm(etf(name));
    return term ? jsonText(stage::toJson(*term)) : "error";
}

TEST(StageEtf, ReadsWhatErlangWrote)
{
    struct Case {
        char const* name;
        char const* json;
    };
    Case const cases[] = {
        { "atom_nil", "[null]" },
        { "atom_true", "[true]" },
        { "atom_false", "[false]" },
        { "atom_other", "[\"online\"]" },
        { "atom_empty", "[\"\"]" },
        { "int_0", "[0]" },
        { "int_255", "[255]" },
        { "int_256", "[256]" },
        { "int_minus_1", "[-1]" },
        { "int_min32", "[-2147483648]" },
        { "int_max32", "[2147483647]" },
        { "big_2p31", "[\"2147483648\"]" },
        { "big_minus_2p31_1", "[\"-2147483649\"]" },
        { "big_snowflake", "[\"175928847299117063\"]" },
        { "big_2p63_minus_1", "[\"9223372036854775807\"]" },
        { "big_2p63", "[\"9223372036854775808\"]" },
        { "big_minus_2p63", "[\"-9223372036854775808\"]" },
        { "big_minus_2p63_1", "error" },
        { "big_2p64_minus_1", "[\"18446744073709551615\"]" },
        { "big_2p64", "error" },
        { "float_1_5", "[1.5]" },
        { "float_minus_0_1", "[-0.1]" },
        { "binary_empty", "[\"\"]" },
        { "binary_utf8", "[\"h\u00e9llo \U0001F600\"]" },
        { "string_ext", "[[1,2,3]]" },
        { "list_empty", "[[]]" },
        { "list_mixed", "[[1,\"two\",null,[3]]]" },
        { "list_improper", "error" },
        { "list_improper_in_map", "error" },
        { "map_empty", "[{}]" },
        { "map_atom_keys",
          "[{\"d\":{\"heartbeat_interval\":41250},\"op\":10,\"s\":null,\"t\":null}]" },
        { "map_binary_keys", "[{\"op\":0,\"s\":42,\"t\":\"READY\"}]" },
        { "map_key_true", "[{\"nil\":null,\"true\":true}]" },
        { "map_int_key", "error" },
        { "tuple_unsupported", "error" },
        { "pid_like_unsupported", "error" },
    };
    for (Case const& c : cases)
        EXPECT_EQ(decoded(c.name), c.json) << c.name;
    EXPECT_TRUE(stage::decodeTerm(etf("compressed_list")));
    EXPECT_TRUE(stage::decodeTerm(etf("nest_list_256")));
    EXPECT_FALSE(stage::decodeTerm(etf("nest_list_257")));
    EXPECT_TRUE(stage::decodeTerm(etf("nest_map_256")));
    EXPECT_FALSE(stage::decodeTerm(etf("nest_map_257")));
}

// Written again, what was read from Erlang's bytes gives the same bytes.
TEST(StageEtf, WritesWhatErlangWrites)
{
    for (char const* name : { "atom_nil",
                              "atom_true",
                              "atom_false",
                              "atom_other",
                              "atom_empty",
                              "int_0",
                              "int_1",
                              "int_255",
                              "int_256",
                              "int_minus_1",
                              "int_min32",
                              "int_max32",
                              "big_2p31",
                              "big_minus_2p31_1",
                              "big_snowflake",
                              "big_2p63_minus_1",
                              "big_2p63",
                              "big_minus_2p63",
                              "big_2p64_minus_1",
                              "float_1_5",
                              "float_minus_0_1",
                              "binary_empty",
                              "binary_utf8",
                              "binary_70000",
                              "string_ext",
                              "string_ext_255",
                              "list_empty",
                              "list_mixed",
                              "map_empty",
                              "map_atom_keys",
                              "map_binary_keys",
                              "nest_list_256",
                              "nest_map_256" }) {
        auto const term = stage::decodeTerm(etf(name));
        ASSERT_TRUE(term) << name;
        EXPECT_TRUE(stage::encodeTerm(*term) == etf(name)) << name;
    }
}

TEST(StageEtf, EveryCutIsRefused)
{
    for (char const* name : { "map_atom_keys", "list_mixed", "compressed_list", "big_snowflake" }) {
        QByteArray const whole = etf(name);
        for (int size = 0; size < whole.size(); ++size)
            EXPECT_FALSE(stage::decodeTerm(whole.left(size))) << name << " cut at " << size;
        EXPECT_TRUE(stage::decodeTerm(whole));
    }
    EXPECT_FALSE(stage::decodeTerm(etf("int_0") + 'x'));
    // Counts far beyond the bytes that are there.
    EXPECT_FALSE(stage::decodeTerm(QByteArray("\x83l\xff\xff\xff\xffj", 7)));
    EXPECT_FALSE(stage::decodeTerm(QByteArray("\x83t\xff\xff\xff\xffj", 7)));
    EXPECT_FALSE(stage::decodeTerm(QByteArray("\x83m\xff\xff\xff\xffj", 7)));
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
    QByteArray const packed = readData(QStringLiteral("gateway/session.zstream"));
    QList<QByteArray> lines = readData(QStringLiteral("gateway/session.jsonl")).split('\n');
    lines.removeAll(QByteArray());
    z_stream z{};
    ASSERT_EQ(inflateInit(&z), Z_OK);
    QByteArray out(4 << 20, Qt::Uninitialized);
    int at = 0;
    int frames = 0;
    for (; at + 4 <= packed.size() && frames < lines.size(); ++frames) {
        auto const size = int(qFromBigEndian<quint32>(packed.constData() + at));
        ASSERT_LE(at + 4 + size, packed.size());
        z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.constData()) + at + 4);
        z.avail_in = uInt(size);
        z.next_out = reinterpret_cast<Bytef*>(out.data());
        z.avail_out = uInt(out.size());
        ASSERT_EQ(inflate(&z, Z_SYNC_FLUSH), Z_OK);
        ASSERT_GT(z.avail_out, 0u);
        auto const term = stage::decodeTerm(out.left(out.size() - int(z.avail_out)));
        ASSERT_TRUE(term) << "frame " << frames;
        EXPECT_EQ(jsonText(stage::toJson(*term)),
                  jsonText(QJsonDocument::fromJson(lines[frames]).object()))
            << "frame " << frames;
        at += 4 + size;
    }
    inflateEnd(&z);
    EXPECT_EQ(frames, 176);
    EXPECT_EQ(at, packed.size());
}

} // namespace
