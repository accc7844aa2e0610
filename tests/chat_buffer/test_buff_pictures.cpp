// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "chat_world.h"
#include "deployment.h"
#include "dis_buff_msg_content_widget.h"
#include "dis_buff_pictures.h"

namespace {

NakDeployment const deployment = publicDeployment();

std::string dump(DisBuffPicture const& picture)
{
    return QStringLiteral("%1 %2x%3")
        .arg(picture.source.toString())
        .arg(picture.size.width())
        .arg(picture.size.height())
        .toStdString();
}

std::string dump(DisBuffMsgLayout const& layout)
{
    QStringList parts;
    for (QRect const& rect : layout.pictures)
        parts << QStringLiteral("%1x%2").arg(rect.width()).arg(rect.height());
    for (DisBuffMsgLayout::Note const& note : layout.notes)
        parts << note.text;
    return parts.join(QLatin1Char(' ')).toStdString();
}

} // namespace

TEST(BuffPictures, placesAreKnownBeforePicturesAre)
{
    struct Row {
        char const* thumbnail;
        int width, height;
        char const* picture;
    };
    Row const table[] = {
        { "https://media.discordapp.net/a/b.png", 800, 300,
          "https://media.discordapp.net/a/b.png?width=400&height=150 400x150" },
        { "https://media.discordapp.net/a/b.png", 400, 300,
          "https://media.discordapp.net/a/b.png 400x300" },
        { "https://images-ext-2.discordapp.net/x?k=1", 10, 3000,
          "https://images-ext-2.discordapp.net/x?k=1&width=1&height=300 1x300" },
        { "https://media.discordapp.net/v.mp4", 20, 10,
          "https://media.discordapp.net/v.mp4?format=jpeg 20x10" },
        { "https://media.discordapp.net.evil.example/b.png", 800, 300,
          "https://media.discordapp.net.evil.example/b.png 400x150" },
        { "https://images-ext-x.discordapp.net/b.mp4", 0, 0,
          "https://images-ext-x.discordapp.net/b.mp4 200x150" },
        { "", -4, 2000000000, " 200x150" },
        { "https://a.example/", 2000000000, 1, "https://a.example/ 400x1" },
    };
    for (Row const& row : table) {
        DisBuffPictureRow const stored{ QStringLiteral("https://cdn.example/o.png"),
                                        QLatin1String(row.thumbnail), row.width, row.height };
        EXPECT_EQ(dump(DisBuffPictures::pictureOf(stored, deployment)), row.picture);
    }
}

TEST_F(ChatTest, aMessageShowsPicturesOrLinesThatStandForThem)
{
    g_deployment = &deployment;
    world.addUser(FlakeId(7), QStringLiteral("ann"));
    world.addMessage(idAt(0), FlakeId(7), QStringLiteral("look"));
    for (char const* sql : {
             "message_image_attachment (message_id, url, thumbnail, width, height) values "
             "(%1, 'https://x/own.png', 'https://x/own.png', 800, 600)",
             "message_image_embed (message_id, url, thumbnail, width, height) values "
             "(%1, 'https://x/linked.png', 'https://x/linked.png', 50, 40)",
             "message_file_attachment (message_id, filename, url, filesize) values "
             "(%1, 'plan.pdf', 'https://x/plan.pdf', 0)",
         })
        world.exec(QStringLiteral("insert into ")
                   + QString::fromLatin1(sql).arg(idAt(0).toString()));
    struct Row {
        bool images, previews, lowBandwidth;
        int width;
        char const* parts;
    };
    Row const table[] = {
        { true, true, false, 500, "50x40 400x300 plan.pdf" },
        { true, true, false, 200, "50x40 194x145 plan.pdf" },
        { true, false, false, 500, "400x300 plan.pdf" },
        { false, true, false, 500, "own.png plan.pdf" },
        { true, true, true, 500, "own.png plan.pdf" },
    };
    for (Row const& row : table) {
        g_preferences->showImagesInChat = row.images;
        g_preferences->showLinkPreviewsInChat = row.previews;
        g_preferences->lowBandwidthMode = row.lowBandwidth;
        DisBuffReads reads(g_disClient->db());
        DisBuffWidgetsManager manager(
            { g_disClient->db(), &reads, &g_disClient->pendingMessages_hack() });
        DisBuffMsgContentWidget content(&manager);
        content.setContents(world.channel, DisBuffItem::confirmed(idAt(0), FlakeId(7)));
        content.heightForWidth(row.width);
        EXPECT_EQ(dump(content.currentLayout()), row.parts);
    }
    g_deployment = nullptr;
}
