// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_text_document.h"
#include "dis_text_images.h"
#include "text_fixture.h"

#include <QSignalSpy>

namespace {

using Mode = DisText::ContentMode::Type;
namespace Modes = DisText::ContentMode;

constexpr FlakeId noGuild;
constexpr FlakeId home(10);

struct FillCase {
    char const* text;
    FlakeId guild;
    Mode mode;
    char const* document;
};

FillCase const fillCases[] = {
    { "", noGuild, Modes::Normal, "" },
    { "hello", noGuild, Modes::Normal, "[|hello]" },
    { "hello", noGuild, Modes::Edited, "[|hello][dim| [edited]]" },
    { "hello", noGuild, Modes::Deleted, "[dim|[deleted]]" },
    { "joined", noGuild, Modes::Action, "[dim|[action] ][italic|joined]" },
    { "", noGuild, Modes::Action, "[dim|[action] ]" },
    { "a\nb\n\nc", noGuild, Modes::Normal, "[|a]\n[|b]\n\n[|c]" },
    { "<b>&amp;</b>", noGuild, Modes::Normal, "[|<b>&amp;</b>]" },
    { "x <:wave:40>", noGuild, Modes::Normal, "[|x ][disemoji://40 wave 28]" },
    { "<@1>", noGuild, Modes::Normal, "[bold|@ann]" },
    { "<@!1>", home, Modes::Normal, "[bold #ff0000|@ann]" },
    { "<@2>", home, Modes::Normal, "[bold|@bob]" },
    { "<@99>", home, Modes::Normal, "[bold|@99]" },
    { "<#20>", home, Modes::Normal, "[bold|#general]" },
    { "<#21>", home, Modes::Normal, "[bold|[Unknown channel]]" },
    { "<@&30>", home, Modes::Normal, "[bold #ff0000|@staff]" },
    { "<@&31>", noGuild, Modes::Normal, "[bold|@plain]" },
    { "<@&32>", noGuild, Modes::Normal, "[bold|@[Unknown Role]]" },
    { "see http://a.b/<i>", noGuild, Modes::Normal,
      "[|see ][underlined >http://a.b/<i>|http://a.b/<i>]" },
    { "http://a", noGuild, Modes::Action, "[dim|[action] ][underlined >http://a|http://a]" },
    { "a `b c` d", noGuild, Modes::Normal, "[|a ][mono shaded|b c][| d]" },
    { "```\nx\ny\n```", noGuild, Modes::Normal, "fence [mono|x]\nfence [mono|y]" },
    { "```\nx\n```", noGuild, Modes::Edited, "fence [mono|x]\n[dim| [edited]]" },
    { "a```x```b", noGuild, Modes::Normal, "[|a]\nfence [mono|x]\n[|b]" },
    { "a\n```\nx\n```\nb", noGuild, Modes::Normal, "[|a]\nfence [mono|x]\n[|b]" },
    { "```x``````y```", noGuild, Modes::Normal, "fence [mono|x]\nfence [mono|y]" },
    { "```x```", noGuild, Modes::Action, "[dim|[action] ]\nfence [mono|x]" },
    { "``````", noGuild, Modes::Normal, "fence " },
    { "\U0001f600 \u00e4", noGuild, Modes::Normal, "[|\U0001f600 \u00e4]" },
};

class TextDocumentTest : public TextFixture {
protected:
    DisTextDocument* taken() { return manager->takeTextDocument(&owner); }

    std::string filled(DisTextDocument* document, FillCase const& c)
    {
        QString const text = QString::fromUtf8(c.text);
        document->setFromParams({ QStringRef(&text), c.guild, c.mode });
        return dump(*document);
    }

    DisTextDocument* fill(DisTextDocument* document, char const* text)
    {
        filled(document, { text, noGuild, Modes::Normal, "" });
        return document;
    }

    void rename(quint64 user) { tell(DisChange::ChangeType::UserPropertiesChanged, FlakeId(user)); }

    QObject owner;
};

TEST_F(TextDocumentTest, NothingOfTheOldTextStays)
{
    DisTextDocument* const document = taken();
    document->setTextWidth(60);
    for (FillCase const& c : fillCases) {
        DisTextDocument* const fresh = taken();
        EXPECT_EQ(filled(fresh, c), c.document) << c.text << " in mode " << c.mode;
        EXPECT_EQ(fresh->hasCodeBlock(), strstr(c.document, "fence") != nullptr) << c.text;
        fresh->setTextWidth(60);
        for (FillCase const& before : fillCases) {
            filled(document, before);
            EXPECT_EQ(filled(document, c), c.document) << before.text << ", then " << c.text;
            EXPECT_EQ(document->size(), fresh->size()) << before.text << ", then " << c.text;
        }
    }
}

TEST_F(TextDocumentTest, FillsLeaveNothingThatGrows)
{
    DisTextDocument* const document = taken();
    for (int i = 0; i < 500; ++i) {
        std::string const address = "http://a.b/" + std::to_string(i);
        fill(document, ("see " + address + " now").c_str());
        EXPECT_LT(document->allFormats().size(), 64);
        EXPECT_EQ(dump(*document), "[|see ][underlined >" + address + "|" + address + "][| now]");
    }
}

TEST_F(TextDocumentTest, ThePoolGivesBackWhatWasReleased)
{
    DisTextDocument* const document = taken();
    document->release();
    EXPECT_EQ(document->parent(), nullptr);
    EXPECT_EQ(taken(), document);
    EXPECT_NE(taken(), document);
}

TEST_F(TextDocumentTest, ADocumentMayOutliveItsManager)
{
    QPointer<DisTextDocument> const document = manager->takeTextDocument(nullptr);
    fill(document, "<@1>");
    manager.reset();
    fill(document, "new");
    EXPECT_EQ(dump(*document), "[bold|@ann]");
    document->release();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(document.isNull());
}

TEST_F(TextDocumentTest, WhatChangesReachesThoseWhoShowIt)
{
    std::string told;
    auto const reparses = [&told] {
        std::string letters = std::exchange(told, {});
        std::sort(letters.begin(), letters.end());
        return letters;
    };
    DisTextDocument* documents[5];
    char const* const texts[] = { "<@1><@3>", "<@2> <@2>", "<@1> <@2>", "plain", "" };
    for (int i = 0; i < 5; ++i) {
        documents[i] = fill(taken(), texts[i]);
        QObject::connect(documents[i], &DisTextDocument::needsReparse, &owner,
                         [&told, i] { told.push_back(char('a' + i)); });
    }
    run("update user set name = 'eve' where id = 1");
    rename(1);
    EXPECT_EQ(reparses(), "ac");
    preferences.displayDiscriminator = true;
    EXPECT_EQ(dump(*fill(documents[0], texts[0])), "[bold|@eve][dim|#0001][bold|@cy]");
    DisChanges several;
    for (quint64 user : { 2, 1, 2 })
        several.add(DisChange::ChangeType::UserPropertiesChanged, FlakeId(user));
    client->postLocalChanges(several);
    EXPECT_EQ(reparses(), "abc") << "each once";
    rename(4);
    EXPECT_EQ(reparses(), "");
    client->postLocalChanges(DisChanges::reload());
    EXPECT_EQ(reparses(), "abc");

    fill(documents[0], "no mention");
    documents[2]->clearResourcesOnly();
    client->postLocalChanges(several);
    EXPECT_EQ(reparses(), "b");
    documents[1]->release();
    client->postLocalChanges(several);
    EXPECT_EQ(reparses(), "");

    qreal const before = documents[3]->size().height();
    preferences.messageBufferFont.setPointSize(20);
    manager->prefsChanged();
    EXPECT_EQ(reparses(), "ad") << "those with content";
    EXPECT_GT(fill(documents[3], "text")->size().height(), before * 1.5);
    EXPECT_EQ(fill(documents[4], "")->size().height(), documents[3]->size().height())
        << "an empty line has the font too";
}

TEST_F(TextDocumentTest, ADocumentMayDieWhileItIsTold)
{
    for (bool byPreferences : { false, true }) {
        QPointer<DisTextDocument> const a = fill(taken(), "<@1>");
        QPointer<DisTextDocument> const b = fill(taken(), "<@1>");
        int told = 0;
        auto const kill = [&told](QPointer<DisTextDocument> const& other) {
            ++told;
            delete other;
        };
        QObject::connect(a, &DisTextDocument::needsReparse, &owner, [&] { kill(b); });
        QObject::connect(b, &DisTextDocument::needsReparse, &owner, [&] { kill(a); });
        byPreferences ? manager->prefsChanged() : rename(1);
        EXPECT_EQ(told, 1);
        EXPECT_NE(a.isNull(), b.isNull());
        delete a;
        delete b;
    }
}

TEST_F(TextDocumentTest, AnArrivingEmojiRepaintsWhoShowsItAndMovesNothing)
{
    struct {
        char const* text;
        int repaints;
    } const table[] = { { "a <:wave:40> b <:wave:40>", 1 },
                        { "<:wave:40>", 1 },
                        { "<:spin:41>", 0 },
                        { "none", 0 },
                        { "<:wave:40> gone", 0 } };
    QVector<DisTextDocument*> documents;
    QVector<QSizeF> sizes;
    std::vector<std::unique_ptr<QSignalSpy>> repaints;
    for (auto const& row : table) {
        documents << fill(taken(), row.text);
        sizes << documents.last()->size();
        repaints.push_back(
            std::make_unique<QSignalSpy>(documents.last(), &DisTextDocument::needsRepaintOnly));
        QObject::connect(documents.last(), &DisTextDocument::needsReparse,
                         [] { ADD_FAILURE() << "reparsed"; });
    }
    documents.last()->clearResourcesOnly();
    QPixmap pixmap(28, 28);
    pixmap.fill(Qt::red);
    SharedImage const red = SharedImage::createPlain(pixmap, { 28, 28 });
    emit emoji->emojiPixmapPresented(FlakeId(40), 27, red); // of a size that was before
    emit emoji->emojiPixmapPresented(FlakeId(40), 28, red);
    for (int i = 0; i < documents.size(); ++i) {
        EXPECT_EQ(repaints[size_t(i)]->count(), table[i].repaints) << table[i].text;
        EXPECT_EQ(documents[i]->size(), sizes[i]) << table[i].text;
        QVariant const held = documents[i]->resource(QTextDocument::ImageResource,
                                                     QUrl(QStringLiteral("disemoji://40")));
        EXPECT_EQ(held.value<QPixmap>().cacheKey() == pixmap.cacheKey(), table[i].repaints == 1)
            << table[i].text;
    }
    QTextDocument const& first = *documents.first();
    EXPECT_EQ(DisText::plainTextOf(first, 0, first.characterCount()).toStdString(),
              "a :wave: b :wave:");
    EXPECT_EQ(DisText::plainTextOf(first, 1, 4).toStdString(), " :wave: ");
}

TEST_F(TextDocumentTest, AnEmojiIsHeldAsLongAsADocumentShowsIt)
{
    DisTextImages images;
    DisTextDocument* const documents[] = { taken(), taken() };
    DisTextImages::Held held[2];
    for (int i : { 0, 1, 0, 1 })
        images.use(documents[i], held[i], DisEmojiKey(40, 28), QStringLiteral("wave"));
    images.use(documents[0], held[0], DisEmojiKey(41, 28), QStringLiteral("spin"));
    EXPECT_EQ(images.resourceCount(), 2);
    images.release(documents[0], held[0]);
    EXPECT_EQ(images.present(DisEmojiKey(40, 28), {}), QVector<DisTextDocument*>{ documents[1] });
    EXPECT_EQ(images.resourceCount(), 1);
    images.release(documents[1], held[1]);
    EXPECT_EQ(images.resourceCount(), 0);
}

} // namespace
