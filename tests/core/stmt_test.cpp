// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "nak_stmt.h"

#include <gtest/gtest.h>

namespace {

class Stmt : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(NakSql::openDb(":memory:", &m_db), SQLITE_OK); }
    void TearDown() override { EXPECT_EQ(NakSql::closeDb(m_db), SQLITE_OK); }

    sqlite3* m_db = nullptr;
};

template <typename Text> std::string quotes(Text const& text)
{
    return text.isNull() ? "null" : '"' + text.toStdString() + '"';
}

std::string readAll(NakStmt const& stmt)
{
    // Those that look at the type come first, since a read may convert the column.
    std::string out = "type " + std::to_string(stmt.colType(0)) + " or ";
    out += quotes(stmt.colString_default(0, QStringLiteral("def")));
    out += ' ' + std::to_string(stmt.colInt_default(0, -7));
    out += ' ' + std::to_string(stmt.colInt64_default(0, -8));
    out += " int " + std::to_string(stmt.colInt(0)) + ' ' + std::to_string(stmt.colInt64(0));
    out += stmt.colBool(0) ? " true" : " false";
    out += stmt.colFlake(0).isValid() ? "" : " no id";
    out += " text " + quotes(stmt.colString(0)) + ' ' + quotes(stmt.colTextByteArray(0));
    out += ' ' + quotes(stmt.colBlobByteArray(0));
    char const* text = nullptr; // good until the next read of another kind
    int length = -1;
    stmt.colRawCStr(0, &text, &length);
    out += ' ' + QByteArray(text, length).toStdString();
    QChar const* utf16 = nullptr;
    stmt.colRawUtf16(0, &utf16, &length);
    out += ' ' + QString(utf16, length).toStdString();
    return out;
}

} // namespace

// As SQLite writes the bound values as literals.
TEST_F(Stmt, Bind)
{
    constexpr int count = 17;
    QByteArray const sql = "select quote(?)" + QByteArray(", quote(?)").repeated(count - 1);
    NakStmt stmt(m_db, sql.constData());
    QString text = QStringLiteral("k\u00fc\U0001F600'");
    QByteArray utf8("abcdef");
    int n = 0;
    stmt.bind(++n, text);
    stmt.bind(++n, text.midRef(1, 3));
    stmt.bind(++n, QString());
    stmt.bind(++n, QStringRef(nullptr));
    stmt.bind(++n, -5L);
    stmt.bind(++n, qint64(1) << 40);
    stmt.bind(++n, -6);
    stmt.bind(++n, true);
    stmt.bind(++n, FlakeId(174820236481134592ULL));
    stmt.bind(++n, FlakeId());
    stmt.bind(++n, QByteArray("a\0b", 3));
    stmt.bind(++n, utf8);
    stmt.bindUtf8(++n, utf8.constData(), 3);
    stmt.bind(++n, Dread::VString{ "abcdef", 3 });
    stmt.bindUtf8_noCopy(++n, "xyz", 1);
    stmt.bind(++n, 7);
    stmt.bindNull(n);
    stmt.bind(++n, false);
    ASSERT_EQ(n, count);
    text.fill(u'-'); // what was bound is a copy
    std::fill(utf8.begin(), utf8.end(), '-');
    auto const row = [&] {
        EXPECT_TRUE(stmt.step());
        std::string out;
        for (int column = 0; column < count; ++column)
            out += stmt.colString(column).toStdString() + ' ';
        stmt.reset();
        return out;
    };
    EXPECT_EQ(row(),
              "'k\u00fc\U0001F600''' '\u00fc\U0001F600' '' '' -5 1099511627776 -6 1 "
              "174820236481134592 -1 X'610062' X'616263646566' 'abc' 'abc' 'x' NULL 0 ");
    EXPECT_EQ(row(), QByteArray("NULL ").repeated(count).toStdString()) << "after a reset";
}

TEST_F(Stmt, Read)
{
    struct {
        char const* literal;
        char const* reads; // see readAll
    } const cases[] = {
        { "null", R"(type 5 or "def" -7 -8 int 0 0 false text null null null  )" },
        { "''", R"(type 3 or null -7 -8 int 0 0 false text null null null  )" },
        { "'12x'", R"(type 3 or "12x" -7 -8 int 12 12 true text "12x" "12x" "12x" 12x 12x)" },
        { "'\u00fc'",
          "type 3 or \"\u00fc\" -7 -8 int 0 0 false text \"\u00fc\" \"\u00fc\" \"\u00fc\" \u00fc "
          "\u00fc" },
        { "0", R"(type 1 or "def" 0 0 int 0 0 false text "0" "0" "0" 0 0)" },
        { "-1", R"(type 1 or "def" -1 -1 int -1 -1 false no id text "-1" "-1" "-1" -1 -1)" },
        { "4294967303",
          R"(type 1 or "def" 7 4294967303 int 7 4294967303 true )"
          R"(text "4294967303" "4294967303" "4294967303" 4294967303 4294967303)" },
        { "1.5", R"(type 2 or "def" -7 -8 int 1 1 true text "1.5" "1.5" "1.5" 1.5 1.5)" },
        { "x''", R"(type 4 or "def" -7 -8 int 0 0 false text null null null  )" },
        { "x'6162'", R"(type 4 or "def" -7 -8 int 0 0 false text "ab" "ab" "ab" ab ab)" },
    };
    for (auto const& c : cases) {
        QByteArray const sql = QByteArray("select ") + c.literal;
        NakStmt stmt(m_db, sql.constData());
        ASSERT_TRUE(stmt.step());
        EXPECT_EQ(readAll(stmt), c.reads) << c.literal;
    }
}

TEST_F(Stmt, ErrorsEndTheRowsAndAMoveKeepsThem)
{
    int code = -1;
    NakStmt const bad(m_db, "select from", &code);
    EXPECT_EQ(code, SQLITE_ERROR);
    NakStmt overflow(m_db, "select abs(-9223372036854775808)", &code);
    EXPECT_EQ(code, SQLITE_OK);
    EXPECT_FALSE(overflow.step());
    NakStmt moved(m_db, "select 1");
    moved = NakStmt(m_db, "select 2");
    ASSERT_TRUE(moved.step());
    EXPECT_EQ(moved.colInt(0), 2);
}
