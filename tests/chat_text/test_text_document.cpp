// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "bi_set.h"
#include "dis_text_document.h"
#include "dis_text_images.h"
#include "text_fixture.h"

#include <QAbstractTextDocumentLayout>
#include <QSignalSpy>

#include <gtest/gtest.h>

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
    { "", noGuild, Modes::Edited, "[dim| [edited]]" },
    { "", noGuild, Modes::Deleted, "[dim|[deleted]]" },
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
    std::string filled(DisTextDocument* document, FillCase const& c)
    {
        QString const text = QString::fromUtf8(c.text);
        document->setFromParams({ QStringRef(&text), c.guild, c.mode });
        return dump(*document);
    }

    DisTextDocument* fill(DisTextDocument* document, char const* text, FlakeId guild = {})
    {
        QString const string = QString::fromUtf8(text);
        document->setFromParams({ QStringRef(&string), guild, Modes::Normal });
        return document;
    }

    QObject owner;
};

TEST_F(TextDocumentTest, FillTable)
{
    for (FillCase const& c : fillCases) {
        DisTextDocument* const document = manager->takeTextDocument(nullptr);
        EXPECT_EQ(filled(document, c), c.document) << c.text << " in mode " << c.mode;
        EXPECT_EQ(document->hasCodeBlock(),
                  std::string(c.document).find("fence") != std::string::npos)
            << c.text;
        document->setParent(&owner);
    }
}

TEST_F(TextDocumentTest, NothingOfTheOldTextStays)
{
    DisTextDocument* const document = manager->takeTextDocument(&owner);
    for (FillCase const& before : fillCases) {
        for (FillCase const& c : fillCases) {
            filled(document, before);
            EXPECT_EQ(filled(document, c), c.document) << before.text << ", then " << c.text;
        }
    }
}

TEST_F(TextDocumentTest, ARefilledDocumentIsAsHighAsANewOne)
{
    DisTextDocument* const document = manager->takeTextDocument(&owner);
    document->setTextWidth(60);
    for (FillCase const& c : fillCases) {
        DisTextDocument* const fresh = manager->takeTextDocument(&owner);
        filled(fresh, c);
        fresh->setTextWidth(60);
        filled(document, c);
        EXPECT_EQ(document->size(), fresh->size()) << c.text;
    }
}

TEST_F(TextDocumentTest, FillsLeaveNothingThatGrows)
{
    DisTextDocument* const document = manager->takeTextDocument(&owner);
    for (int i = 0; i < 500; ++i) {
        QString const text = QStringLiteral("see http://a.b/%1 now").arg(i);
        document->setFromParams({ QStringRef(&text), noGuild, Modes::Normal });
        EXPECT_LT(document->allFormats().size(), 64);
        std::string const address = "http://a.b/" + std::to_string(i);
        EXPECT_EQ(dump(*document), "[|see ][underlined >" + address + "|" + address + "][| now]");
    }
}

TEST_F(TextDocumentTest, DiscriminatorsByPreference)
{
    preferences.displayDiscriminator = true;
    DisTextDocument* const document = manager->takeTextDocument(&owner);
    EXPECT_EQ(dump(*fill(document, "<@1>!")), "[bold|@ann][dim|#0001][|!]");
    EXPECT_EQ(dump(*fill(document, "<@3>")), "[bold|@cy]");
    EXPECT_EQ(dump(*fill(document, "<@99>")), "[bold|@99]");
}

TEST_F(TextDocumentTest, ThePoolGivesBackWhatWasReleased)
{
    DisTextDocument* const document = manager->takeTextDocument(&owner);
    EXPECT_EQ(document->parent(), &owner);
    EXPECT_EQ(document->documentMargin(), 0.0);
    EXPECT_FALSE(document->isUndoRedoEnabled());
    fill(document, "old");
    document->release();
    EXPECT_EQ(document->parent(), nullptr);
    EXPECT_EQ(manager->takeTextDocument(&owner), document);
    EXPECT_EQ(dump(*document), "[|old]") << "until the next fill";
    QSet<DisTextDocument*> taken{ document };
    for (int i = 0; i < 150; ++i) {
        taken.insert(manager->takeTextDocument(&owner));
    }
    EXPECT_EQ(taken.size(), 151);
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

DisChanges userChanged(std::initializer_list<quint64> users)
{
    DisChanges changes;
    for (quint64 const user : users) {
        changes.add(DisChange::ChangeType::UserPropertiesChanged, FlakeId(user));
    }
    return changes;
}

// The documents that were told to be filled again since the last call, as their letters.
class Reparses {
public:
    void watch(DisTextDocument* document, char letter)
    {
        QObject::connect(document, &DisTextDocument::needsReparse, &m_context,
                         [this, letter] { m_letters.push_back(letter); });
    }
    std::string take()
    {
        std::string letters = std::exchange(m_letters, {});
        std::sort(letters.begin(), letters.end());
        return letters;
    }

private:
    QObject m_context;
    std::string m_letters;
};

TEST_F(TextDocumentTest, ARenameReachesThoseWhoMentionTheUser)
{
    Reparses reparses;
    DisTextDocument* documents[5];
    char const* const texts[] = { "<@1>", "<@2> <@2>", "<@1> <@2>", "plain", "" };
    for (int i = 0; i < 5; ++i) {
        documents[i] = manager->takeTextDocument(&owner);
        reparses.watch(fill(documents[i], texts[i]), char('a' + i));
    }
    exec("update user set name = 'eve' where id = 1");
    announce(userChanged({ 1 }));
    EXPECT_EQ(reparses.take(), "ac");
    EXPECT_EQ(dump(*fill(documents[0], texts[0])), "[bold|@eve]");
    announce(userChanged({ 2, 1, 2 }));
    EXPECT_EQ(reparses.take(), "abc") << "each once";
    announce(userChanged({ 3 }));
    EXPECT_EQ(reparses.take(), "");
    announce(DisChanges::reload());
    EXPECT_EQ(reparses.take(), "abc");

    fill(documents[0], "no mention");
    documents[2]->clearResourcesOnly();
    announce(userChanged({ 1, 2 }));
    EXPECT_EQ(reparses.take(), "b");
    documents[1]->release();
    announce(userChanged({ 1, 2 }));
    EXPECT_EQ(reparses.take(), "");
}

TEST_F(TextDocumentTest, PreferencesReachThoseWithContent)
{
    Reparses reparses;
    DisTextDocument* const a = manager->takeTextDocument(&owner);
    DisTextDocument* const b = manager->takeTextDocument(&owner);
    DisTextDocument* const c = manager->takeTextDocument(&owner);
    reparses.watch(fill(a, "text"), 'a');
    reparses.watch(fill(b, ""), 'b');
    reparses.watch(fill(c, "gone"), 'c');
    c->release();
    preferences.messageBufferFont.setPointSize(20);
    qreal const before = a->size().height();
    manager->prefsChanged();
    EXPECT_EQ(reparses.take(), "a");
    fill(a, "text");
    EXPECT_GT(a->size().height(), before * 1.5);
    fill(b, "");
    EXPECT_EQ(b->size().height(), a->size().height()) << "an empty line has the font too";
}

TEST_F(TextDocumentTest, ADocumentMayDieWhileItIsTold)
{
    for (bool byPreferences : { false, true }) {
        QPointer<DisTextDocument> const a = manager->takeTextDocument(&owner);
        QPointer<DisTextDocument> const b = manager->takeTextDocument(&owner);
        int told = 0;
        for (DisTextDocument* document : { fill(a, "<@1>"), fill(b, "<@1>") }) {
            QPointer<DisTextDocument> const other = document == a ? b : a;
            QObject::connect(document, &DisTextDocument::needsReparse, &owner, [&told, other] {
                ++told;
                delete other;
            });
        }
        if (byPreferences) {
            manager->prefsChanged();
        } else {
            announce(userChanged({ 1 }));
        }
        EXPECT_EQ(told, 1);
        EXPECT_NE(a.isNull(), b.isNull());
        delete a;
        delete b;
    }
}

TEST_F(TextDocumentTest, AnArrivingEmojiRepaintsWhoShowsItAndMovesNothing)
{
    struct Row {
        char const* text;
        int repaints;
    };
    Row const table[] = { { "a <:wave:40> b <:wave:40>", 1 },
                          { "<:wave:40>", 1 },
                          { "<:spin:41>", 0 },
                          { "none", 0 },
                          { "<:wave:40> gone", 0 } };
    struct Shown {
        DisTextDocument* document;
        QSizeF size;
        int repaints = 0;
        int reparses = 0;
    };
    std::vector<Shown> shown(std::size(table));
    for (size_t i = 0; i < shown.size(); ++i) {
        Shown& one = shown[i];
        one.document = fill(manager->takeTextDocument(&owner), table[i].text);
        one.size = one.document->size();
        QObject::connect(one.document, &DisTextDocument::needsRepaintOnly, &owner,
                         [&one] { ++one.repaints; });
        QObject::connect(one.document, &DisTextDocument::needsReparse, &owner,
                         [&one] { ++one.reparses; });
    }
    shown.back().document->clearResourcesOnly();
    QPixmap pixmap(28, 28);
    pixmap.fill(Qt::red);
    SharedImage const red = SharedImage::createPlain(pixmap, { 28, 28 });
    emit emoji->emojiPixmapPresented(FlakeId(40), 27, red); // of a size that was before
    emit emoji->emojiPixmapPresented(FlakeId(40), 28, red);
    for (size_t i = 0; i < shown.size(); ++i) {
        EXPECT_EQ(shown[i].repaints, table[i].repaints) << table[i].text;
        EXPECT_EQ(shown[i].reparses, 0);
        EXPECT_EQ(shown[i].document->size(), shown[i].size) << table[i].text;
        QVariant const held = shown[i].document->resource(QTextDocument::ImageResource,
                                                          QUrl(QStringLiteral("disemoji://40")));
        EXPECT_EQ(held.value<QPixmap>().cacheKey() == pixmap.cacheKey(), table[i].repaints == 1)
            << table[i].text;
    }
    QTextDocument const& first = *shown.front().document;
    EXPECT_EQ(DisText::plainTextOf(first, 0, first.characterCount()).toStdString(),
              "a :wave: b :wave:");
    EXPECT_EQ(DisText::plainTextOf(first, 1, 4).toStdString(), " :wave: ");
}

TEST_F(TextDocumentTest, AnEmojiIsHeldAsLongAsADocumentShowsIt)
{
    DisTextImages images;
    DisTextDocument* documents[] = { manager->takeTextDocument(&owner),
                                     manager->takeTextDocument(&owner) };
    DisTextImages::Held held[2];
    for (int i : { 0, 1, 0, 1 })
        images.use(documents[i], held[i], DisEmojiKey(40, 28), QStringLiteral("wave"));
    images.use(documents[0], held[0], DisEmojiKey(41, 28), QStringLiteral("spin"));
    EXPECT_EQ(held[0].size(), 2);
    EXPECT_EQ(held[1].size(), 1);
    EXPECT_EQ(images.resourceCount(), 2);
    images.release(documents[0], held[0]);
    EXPECT_EQ(images.resourceCount(), 1);
    EXPECT_EQ(images.present(DisEmojiKey(40, 28), {}), QVector<DisTextDocument*>{ documents[1] });
    images.release(documents[1], held[1]);
    EXPECT_EQ(images.resourceCount(), 0);
}

TEST(BiSet, BothSidesAgree)
{
    ManagerUtils::BiSet<FlakeId, int> set;
    auto const of = [&](quint64 a) {
        std::string text;
        set.forEachOfA(FlakeId(a), [&](int b) { text += std::to_string(b) + " "; });
        return text;
    };
    for (int b : { 3, 1, 2 }) {
        set.insert(FlakeId(0), b);
        set.insert(FlakeId(7), b * 10);
        set.insert(FlakeId(7), b * 10);
    }
    set.insert(FlakeId(7), 2);
    EXPECT_EQ(of(0), "1 2 3 ");
    EXPECT_EQ(of(7), "2 10 20 30 ");
    EXPECT_EQ(of(8), "");
    set.removeB(2);
    EXPECT_EQ(of(0), "1 3 ");
    EXPECT_EQ(of(7), "10 20 30 ");
    std::string all;
    set.forEachB([&](int b) { all += std::to_string(b) + " "; });
    EXPECT_EQ(all, "1 3 10 20 30 ");
    for (int b : { 1, 3, 10, 20, 30 }) {
        EXPECT_FALSE(set.isEmpty());
        set.removeB(b);
    }
    EXPECT_TRUE(set.isEmpty());
}

} // namespace
