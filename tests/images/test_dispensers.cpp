// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_avatar_images.h"
#include "dis_changes.h"
#include "dis_emoji_images.h"
#include "dis_store.h"
#include "files.h"
#include "image_store.h"
#include "images_fixture.h"

#include <QFileInfo>

#include <sqlite3.h>

namespace {

FlakeId const ann(1);
FlakeId const bob(2); // has no picture

class DispensersTest : public ImagesTest {
protected:
    DispensersTest()
        : db(createDisStore(dir.filePath(QStringLiteral("store.nakdb"))))
    {
        exec("insert into user (id, name, avatar) values (1, 'ann', 'aa'), (2, 'bob', '');"
             "insert into guild (id, name, icon, owner_id) values (9, 'home', 'hh', 1)");
        start();
    }
    ~DispensersTest() override
    {
        end();
        NakSql::closeDb(db);
    }

    void start()
    {
        avatars = std::make_unique<DisAvatarImages>(
            DisAvatarImages::Options{ storePath, stage.cdnUrl(), db }, nullptr);
        emoji = std::make_unique<DisEmojiImages>(dir.filePath(QStringLiteral("emoji.nakdb")),
                                                 stage.cdnUrl(), nullptr);
        presented = QStringLiteral("-");
        auto const hear = [this](auto* dispenser, auto signal, char const* what) {
            QObject::connect(dispenser, signal, dispenser,
                             [this, what](FlakeId id, int height, SharedImage const& image) {
                                 note(what, id, height, image);
                             });
        };
        hear(avatars.get(), &DisAvatarImages::avatarPresented, "avatar");
        hear(avatars.get(), &DisAvatarImages::guildIconPresented, "icon");
        hear(emoji.get(), &DisEmojiImages::emojiPixmapPresented, "emoji");
    }
    void end()
    {
        avatars.reset();
        emoji.reset();
    }
    void note(char const* what, FlakeId id, int height, SharedImage const& image)
    {
        EXPECT_EQ(image.layoutSize(), QSize(height, height));
        EXPECT_EQ(image.pixmap().size(), QSize(height, height));
        presented +=
            QStringLiteral(" %1 %2 %3").arg(QLatin1String(what), id.toString()).arg(height);
    }
    bool hasPresented(char const* text)
    {
        return waitUntil([&] { return presented == QLatin1String(text); });
    }
    void exec(char const* sql)
    {
        EXPECT_EQ(sqlite3_exec(db, sql, nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(db);
    }
    QString stored(char const* sql) const // in the pictures' own store
    {
        sqlite3* store = NakSql::tryOpenDbReadOnly(storePath);
        QStringList rows;
        for (NakStmt stmt(store, sql); stmt.step();)
            rows << stmt.colString(0);
        NakSql::closeDb(store);
        return rows.join(u' ');
    }

    QString const storePath = dir.filePath(QStringLiteral("avatars.nakdb"));
    sqlite3* db;
    std::unique_ptr<DisAvatarImages> avatars;
    std::unique_ptr<DisEmojiImages> emoji;
    QString presented;
};

char const* const annPath = "/cdn/avatars/1/aa.webp";

} // namespace

TEST_F(DispensersTest, oneDownloadServesEveryHeightAndTheNextStart)
{
    SharedImage const waiting = avatars->getAvatar(ann, 16);
    EXPECT_EQ(waiting, avatars->getAvatar(ann, 16)) << "the placeholder is shared";
    avatars->getAvatar(ann, 32);
    ASSERT_TRUE(hasPresented("- avatar 1 16 avatar 1 32"));
    EXPECT_NE(avatars->getAvatar(ann, 16), waiting);
    EXPECT_EQ(requestsTo(QLatin1String(annPath)), 1);
    EXPECT_EQ(stage.requests().last().query, QStringLiteral("size=256"));
    avatars->getGuildIcon(FlakeId(9), 20);
    ASSERT_TRUE(hasPresented("- avatar 1 16 avatar 1 32 icon 9 20"));
    emoji->getEmojiImage(FlakeId(40), 28);
    ASSERT_TRUE(hasPresented("- avatar 1 16 avatar 1 32 icon 9 20 emoji 40 28"));
    EXPECT_EQ(pictureRequests(), 3);

    // The next start needs no network, and may have none.
    end();
    preferences.lowBandwidthMode = true;
    start();
    avatars->getAvatar(ann, 24);
    ASSERT_TRUE(hasPresented("- avatar 1 24"));
    emoji->getEmojiImage(FlakeId(40), 28);
    ASSERT_TRUE(hasPresented("- avatar 1 24 emoji 40 28"));
    EXPECT_EQ(pictureRequests(), 3);
    for (char const* name : { "avatars.nakdb", "emoji.nakdb" })
        EXPECT_EQ(int(QFileInfo(dir.filePath(QLatin1String(name))).permissions()) & 0x77, 0)
            << name;
}

TEST_F(DispensersTest, whoHasNoPictureCostsNoRequest)
{
    EXPECT_EQ(avatars->getAvatar(bob, 32), avatars->getAvatar(FlakeId(77), 32));
    EXPECT_TRUE(avatars->getGuildIcon(FlakeId(77), 32).isNull());
    EXPECT_EQ(avatars->avatarNameHashForUser(bob), 0U);
    // A name is only a name, wherever it seems to lead.
    avatars->getAvatarWithName(bob, QStringLiteral("../../api?x=1#"), 32);
    ASSERT_TRUE(waitUntil([&] { return pictureRequests() == 1; }));
    EXPECT_EQ(stage.requests().last().path.toStdString(),
              "/cdn/avatars/2/..%2F..%2Fapi%3Fx%3D1%23.webp");
}

TEST_F(DispensersTest, aNewNameIsANewPictureInPlaceOfTheOldOne)
{
    avatars->getAvatar(ann, 32);
    ASSERT_TRUE(hasPresented("- avatar 1 32"));
    quint32 const before = avatars->avatarNameHashForUser(ann);
    exec("update user set avatar = 'a_bb' where id = 1");
    EXPECT_EQ(avatars->avatarNameHashForUser(ann), before) << "remembered until it is told";
    DisChanges changes;
    changes.add(DisChange::ChangeType::UserPropertiesChanged, ann);
    avatars->applyChanges(changes);
    avatars->getAvatar(ann, 32);
    ASSERT_TRUE(hasPresented("- avatar 1 32 avatar 1 32"));
    EXPECT_EQ(requestsTo(QStringLiteral("/cdn/avatars/1/a_bb.webp")), 1);
    EXPECT_EQ(stored("select name_hash from avatar_image"),
              QString::number(DisAvatarImagesImpl::nameHash(QStringLiteral("a_bb"))));
}

TEST_F(DispensersTest, whatMayNotBeFetchedStaysOnThePlaceholderUntilItMay)
{
    preferences.lowBandwidthMode = true;
    SharedImage const placeholder = avatars->getAvatar(ann, 32);
    preferences.lowBandwidthMode = false;
    EXPECT_EQ(avatars->getAvatar(ann, 32), placeholder);
    EXPECT_EQ(pictureRequests(), 0);
    emit events.preferencesChanged();
    avatars->getAvatar(ann, 32);
    EXPECT_TRUE(hasPresented("- avatar 1 32"));
}

TEST_F(DispensersTest, aPictureThatFailsIsNotAskedForAgainAtOnce)
{
    stage.answer("GET", QLatin1String(annPath), 200, "GIF89a no picture");
    SharedImage const placeholder = avatars->getAvatar(ann, 32);
    ASSERT_TRUE(waitUntil([&] { return logLines().size() == 1; }));
    QTest::qWait(0);
    EXPECT_EQ(avatars->getAvatar(ann, 32), placeholder);
    avatars->getAvatar(ann, 64);
    emoji->getEmojiImage(FlakeId(41), 28); // a fetch that comes to its end after any of them
    ASSERT_TRUE(hasPresented("- emoji 41 28"));
    EXPECT_EQ(requestsTo(QLatin1String(annPath)), 1);
    EXPECT_EQ(stored("select count(*) from avatar_image"), QStringLiteral("0"));
}

TEST_F(DispensersTest, aDamagedFileIsBegunAnew)
{
    for (int const damagedFrom : { -1, 0, 4096 }) { // of a row alone, or from that byte on
        avatars->getAvatar(ann, 32);
        ASSERT_TRUE(hasPresented("- avatar 1 32"));
        end();
        stage.clearRequests();
        if (damagedFrom < 0) {
            stored("update avatar_image set image_data = x'00ff'");
        } else {
            QByteArray const bytes = fileBytes(storePath);
            writeFile(storePath,
                      bytes.left(damagedFrom) + QByteArray(bytes.size() - damagedFrom, 'x'));
        }
        start();
        SharedImage const placeholder = avatars->getAvatar(ann, 32);
        if (damagedFrom < 0) { // the placeholder stays; the row is gone for the next time
            ASSERT_TRUE(waitUntil(
                [&] { return stored("select count(*) from avatar_image") == QLatin1String("0"); }));
            EXPECT_EQ(avatars->getAvatar(ann, 32), placeholder);
            EXPECT_EQ(pictureRequests(), 0);
            emit events.preferencesChanged();
            avatars->getAvatar(ann, 32);
        }
        ASSERT_TRUE(hasPresented("- avatar 1 32")) << damagedFrom;
        EXPECT_EQ(pictureRequests(), 1);
        EXPECT_EQ(stored("select user_id from avatar_image"), QStringLiteral("1"));
        end();
        start();
    }
}

TEST_F(DispensersTest, aStoreKeepsToItsBytes)
{
    ImageStore::Options options;
    options.path = dir.filePath(QStringLiteral("small.nakdb"));
    options.schema = "create table t (id int primary key, image_data blob)";
    options.tables = { "t" };
    options.maxBytes = 200'000;
    ImageStore store(options);
    auto const save = [&](int id, int bytes) {
        QByteArray const data(bytes, 'p');
        store.save("replace into t (id, image_data) values (?, ?)", data, [&](NakStmt& stmt) {
            stmt.bind(1, id);
            stmt.bind(2, data);
        });
    };
    save(1'000, 100'000); // would drive out half of the others
    for (int id = 0; id < 300; ++id) {
        save(0, 5'000); // stored again and again, so never among the oldest
        save(id + 1, 5'000);
        ASSERT_LE(QFileInfo(options.path).size(), 240'000) << id;
    }
    std::string kept;
    for (int id : { 0, 1, 290, 300, 1'000 }) {
        bool const has = !store
                              .load("select image_data from t where id = ?",
                                    [&](NakStmt& stmt) { stmt.bind(1, id); })
                              .isEmpty();
        kept += has ? std::to_string(id) + ' ' : "";
    }
    EXPECT_EQ(kept, "0 290 300 ");
}
