// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "child_process.h"
#include "dis_accounts_file.h"
#include "files.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>

namespace {

using DisAccountsFile::Record;

// --- the stream's pieces as hex text, written down without the stream ---
std::string hex(quint32 number)
{
    return QByteArray::number(number, 16).rightJustified(8, '0').toStdString();
}
std::string hexText(char const* ascii)
{
    std::string out = hex(static_cast<quint32>(2 * qstrlen(ascii))); // bytes of UTF-16
    for (; *ascii; ++ascii)
        out += "00" + QByteArray(1, *ascii).toHex().toStdString();
    return out;
}
std::string const mapVariant = hex(8) + "00"; // type and "is not null"
std::string const textVariant = hex(10) + "00";
std::string const intVariant = hex(2) + "00";
std::string const boolVariant = hex(1) + "00";

Record fullRecord()
{
    Record record;
    record.userName = QStringLiteral("ada");
    record.discriminator = QStringLiteral("0042");
    record.authToken = QStringLiteral("tok");
    record.cachedGatewayUrl = QStringLiteral("wss://g");
    record.userId = FlakeId(80351110224678912);
    record.avatarName = QStringLiteral("a1");
    record.authTokenState = 2;
    record.autoConnect = true;
    return record;
}

// Keys descend: the stream writes a map from its end.
std::string const fullRecordHex = mapVariant + hex(8) + hexText("user_name") + textVariant
    + hexText("ada") + hexText("user_id") + textVariant + hexText("80351110224678912")
    + hexText("discriminator") + textVariant + hexText("0042") + hexText("cached_gateway_url")
    + textVariant + hexText("wss://g") + hexText("avatar_name") + textVariant + hexText("a1")
    + hexText("auto_connect") + boolVariant + "01" + hexText("auth_token_state") + intVariant
    + hex(2) + hexText("auth_token") + textVariant + hexText("tok");

std::string text(QVector<Record> const& records)
{
    QString out;
    for (Record const& r : records)
        out += QStringLiteral("%1|%2|%3|%4|%5|%6|%7|%8\n")
                   .arg(r.userName, r.discriminator, r.authToken, r.cachedGatewayUrl,
                        r.userId.isValid() ? r.userId.toString() : QString(), r.avatarName)
                   .arg(r.authTokenState)
                   .arg(r.autoConnect);
    return out.toStdString();
}

QVector<Record> manyRecords(int count, char const* name)
{
    QVector<Record> records;
    for (int i = 0; i < count; ++i) {
        Record record = fullRecord();
        record.userName = QLatin1String(name) + QString::number(i);
        records.append(record);
    }
    return records;
}

class AccountsFile : public testing::Test {
protected:
    QTemporaryDir dir;
    QString const directory = dir.filePath(QStringLiteral("data"));
    QString const path = directory + QStringLiteral("/nakwire_accounts.bin");

    std::string entries() const
    {
        return QDir(directory)
            .entryList(QDir::Files | QDir::Hidden, QDir::Name)
            .join(QLatin1Char(' '))
            .toStdString();
    }
    // Of the user alone, the directory too.
    bool isPrivate() const
    {
        return ((QFileInfo(path).permissions() | QFileInfo(directory).permissions()) & 0x0077) == 0;
    }
};

} // namespace

TEST_F(AccountsFile, LayoutAsHex)
{
    Record fresh;
    fresh.authToken = QStringLiteral("new");
    fresh.authTokenState = 1;
    ASSERT_TRUE(DisAccountsFile::save(path, { fullRecord(), fresh }));
    EXPECT_EQ(fileBytes(path).toHex().toStdString(),
              hex(1) + hex(2) + fullRecordHex + mapVariant + hex(2) + hexText("auth_token_state")
                  + intVariant + hex(1) + hexText("auth_token") + textVariant + hexText("new"));
    EXPECT_EQ(text(DisAccountsFile::load(path).records),
              "ada|0042|tok|wss://g|80351110224678912|a1|2|1\n||new||||1|0\n");
}

TEST_F(AccountsFile, MissingKeys)
{
    EXPECT_EQ(DisAccountsFile::encodeBody({ Record() }).toHex().toStdString(),
              hex(1) + mapVariant + hex(1) + hexText("auth_token_state") + intVariant + hex(0));
    QVariantMap map;
    EXPECT_EQ(text({ DisAccountsFile::fromVariantMap(map) }), "||||||0|0\n");
    map.insert(QStringLiteral("auth_token"), QStringLiteral("t"));
    EXPECT_EQ(text({ DisAccountsFile::fromVariantMap(map) }), "||t||||1|0\n");
    map.insert(QStringLiteral("auth_token_state"), 3);
    map.insert(QStringLiteral("user_id"), QStringLiteral("not a number"));
    map.insert(QStringLiteral("from the future"), 7);
    EXPECT_EQ(text({ DisAccountsFile::fromVariantMap(map) }), "||t||||3|0\n");
}

TEST_F(AccountsFile, CutOrDamagedAtEveryByte)
{
    QByteArray const body = DisAccountsFile::encodeBody({ fullRecord(), Record() });
    ASSERT_TRUE(DisAccountsFile::parseBody(body));
    for (int cut = 0; cut < body.size(); ++cut)
        EXPECT_FALSE(DisAccountsFile::parseBody(body.left(cut))) << cut;
    EXPECT_FALSE(DisAccountsFile::parseBody(body + '\0'));
    for (int at = 0; at < body.size(); ++at)
        for (int bit = 0; bit < 8; ++bit) {
            QByteArray damaged = body;
            damaged[at] = static_cast<char>(damaged[at] ^ (1 << bit));
            (void)DisAccountsFile::parseBody(damaged); // ends, whatever it makes of it
        }
}

TEST_F(AccountsFile, NestingAndCountsAreBounded)
{
    QByteArray deep = QByteArray::fromStdString(hex(1)); // one account
    for (int i = 0; i < 100'000; ++i)
        deep += QByteArray::fromStdString(mapVariant + hex(1) + hexText("k"));
    EXPECT_FALSE(DisAccountsFile::parseBody(QByteArray::fromHex(deep)));
    for (char const* const count : { "ffffffff", "80000000", "7fffffff", "00002711" })
        EXPECT_FALSE(DisAccountsFile::parseBody(QByteArray::fromHex(count))) << count;
    EXPECT_FALSE(
        DisAccountsFile::parseBody(QByteArray::fromStdString(hex(1) + mapVariant + "ffffffff")));
}

TEST_F(AccountsFile, SavesForTheOwnerAloneAndLeavesNothingForNoRecords)
{
    EXPECT_TRUE(DisAccountsFile::save(path, {}));
    EXPECT_FALSE(QFileInfo::exists(directory)) << "nothing is made for nothing";
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(DisAccountsFile::save(path, { fullRecord() }));
        EXPECT_TRUE(isPrivate());
        EXPECT_EQ(entries(), "nakwire_accounts.bin");
        // A file that somebody made readable is closed again.
        QFile::setPermissions(path, QFile::Permissions(0x6644));
    }
    EXPECT_TRUE(DisAccountsFile::save(path, {}));
    EXPECT_EQ(entries(), "");
    EXPECT_TRUE(DisAccountsFile::load(path).records.isEmpty());
}

TEST_F(AccountsFile, UnreadableFilesAreSetAside)
{
    QByteArray const good = DisAccountsFile::encodeBody({ fullRecord() });
    struct {
        QByteArray bytes;
        char const* title = "";
    } const cases[] = {
        { "" },
        { "\x01" },
        { QByteArray::fromHex("00000000") + good },
        { QByteArray::fromHex("00000003") + good },
        { QByteArray::fromHex("00000001") + good.left(good.size() - 1) },
        { QByteArray::fromHex("00000001") + good + "x" },
        { QByteArray::fromHex("0000000200000004") + "1234", "Decryption Unavailable" },
        { QByteArray::fromHex("0000000200000005") + "1234" },
        { QByteArray((4 << 20) + 1, 'x') },
    };
    QDir().mkpath(directory);
    QStringList expected;
    for (auto const& c : cases) {
        writeFile(path, c.bytes);
        auto const loaded = DisAccountsFile::load(path);
        EXPECT_TRUE(loaded.records.isEmpty());
        EXPECT_FALSE(loaded.blocked);
        EXPECT_EQ(loaded.warningTitle.toStdString(), c.title);
        QString const aside =
            QStringLiteral("nakwire_accounts.bin.unreadable-%1").arg(expected.size() + 1);
        expected << aside;
        EXPECT_EQ(entries(), expected.join(u' ').toStdString());
        EXPECT_EQ(fileBytes(directory + u'/' + aside), c.bytes);
    }
}

TEST_F(AccountsFile, ThatCannotBeSetAsideIsToldToBeBlocked)
{
    QDir().mkpath(path); // a directory cannot be opened as a file
    for (int i = 1; i <= 100; ++i) // nor renamed while all names are taken
        QDir().mkpath(QStringLiteral("%1.unreadable-%2").arg(path).arg(i));
    EXPECT_TRUE(DisAccountsFile::load(path).blocked);
}

TEST_F(AccountsFile, LeftoversOfASaveAreRemovedAndNothingElse)
{
    ASSERT_TRUE(DisAccountsFile::save(path, { fullRecord() }));
    writeFile(path + QStringLiteral(".aB3xYz"), "tokens");
    writeFile(path + QStringLiteral(".backup1"), "kept");
    writeFile(path + QStringLiteral(".short"), "kept");
    writeFile(directory + QStringLiteral("/slack_accounts.bin.aB3xYz"), "kept");
    EXPECT_EQ(DisAccountsFile::load(path).records.size(), 1);
    EXPECT_EQ(entries(),
              "nakwire_accounts.bin nakwire_accounts.bin.backup1 nakwire_accounts.bin.short "
              "slack_accounts.bin.aB3xYz");
}

TEST_F(AccountsFile, KilledWhileSaving)
{
    QVector<Record> const sets[] = { manyRecords(1, "few"), manyRecords(400, "many") };
    QElapsedTimer pair; // of saves, which take their time on a busy disk
    pair.start();
    for (auto const& set : sets)
        ASSERT_TRUE(DisAccountsFile::save(path, set));
    auto const mostMicroseconds = static_cast<unsigned>(2 * pair.nsecsElapsed() / 1000);
    int fewSeen = 0;
    for (int round = 0; round < 200; ++round) {
        inKilledChild(mostMicroseconds, [&] {
            for (int i = round;; ++i)
                DisAccountsFile::save(path, sets[i % 2]);
        });
        std::string const got = text(DisAccountsFile::load(path).records);
        ASSERT_TRUE(got == text(sets[0]) || got == text(sets[1])) << round << ": " << got.size();
        fewSeen += got == text(sets[0]) ? 1 : 0;
        EXPECT_EQ(entries(), "nakwire_accounts.bin");
        EXPECT_TRUE(isPrivate());
    }
    EXPECT_GT(fewSeen, 0); // else no save came to its end
    EXPECT_LT(fewSeen, 200);
}
