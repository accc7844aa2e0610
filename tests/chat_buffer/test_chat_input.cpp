// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "chat_world.h"
#include "dis_chan_buff.h"
#include "dis_channel_state.h"
#include "dis_channel_view.h"
#include "dis_chat_input_text_edit.h"
#include "dis_topic_line.h"
#include "dis_typing_status.h"
#include "widget_acts.h"

#include <QMessageBox>
#include <QSignalSpy>

namespace {

TEST(ChatInput, KeysDoWhatTheTableSays)
{
    constexpr bool aware = true; // of open code fences
    struct {
        char const* text; // "^" is the cursor
        char const* key;
        bool fenceAware;
        char const* result; // the text behind the key
        char const* emitted; // in order: "s" submitted, "u" up, "e" escape, "k" scroll key
    } const cases[] = {
        { "hello^", "Return", !aware, "hello", "s" },
        { "hello^", "Num+Enter", !aware, "hello", "s" },
        { "he^llo", "Return", aware, "hello", "s" },
        { "he^llo", "Shift+Return", !aware, "he\nllo", "" },
        { "^", "Return", !aware, "", "" },
        { "^", "Shift+Return", !aware, "\n", "" },
        { "```a^", "Return", aware, "```a\n", "" },
        { "```a^", "Return", !aware, "```a", "s" },
        { "```a```^", "Return", aware, "```a```", "s" },
        { "```a``` ```^", "Return", aware, "```a``` ```\n", "" },
        { "a^```b", "Return", aware, "a```b", "s" },
        { "```a^```", "Return", aware, "```a\n```", "" },
        { "\\```a^", "Return", aware, "\\```a", "s" },
        { "```\na^", "Return", aware, "```\na\n", "" },
        { "a^", "Tab", !aware, "a", "" },
        { "^", "Up", !aware, "", "u" },
        { "a^", "Up", !aware, "a", "" },
        { "a^", "Esc", !aware, "a", "e" },
        { "^", "PgUp", !aware, "", "k" },
        { "a^", "PgUp", !aware, "a", "" },
        { "^", "End", !aware, "", "k" },
    };
    using Input = DisChatInputTextEdit;
    for (auto const& c : cases) {
        SCOPED_TRACE(std::string(c.key) + " at " + c.text);
        Input input;
        input.setFenceAwareEnter(c.fenceAware);
        QString text = QString::fromUtf8(c.text);
        int const cursorAt = text.indexOf(QLatin1Char('^'));
        input.setPlainText(text.remove(cursorAt, 1));
        QTextCursor cursor = input.textCursor();
        cursor.setPosition(cursorAt);
        input.setTextCursor(cursor);
        std::string emitted;
        QObject::connect(&input, &Input::messageSubmitted, [&](QString const& sent) {
            emitted += 's';
            EXPECT_EQ(sent, input.toPlainText());
        });
        QObject::connect(&input, &Input::pressedUpWithNoContent, [&] { emitted += 'u'; });
        QObject::connect(&input, &Input::pressedEscape, [&] { emitted += 'e'; });
        QObject::connect(&input, &Input::scrollKeyPressed, [&] { emitted += 'k'; });
        pressKeys(&input, c.key);
        EXPECT_EQ(input.toPlainText().toStdString(), c.result);
        EXPECT_EQ(emitted, c.emitted);
    }
}

TEST(TypingStatus, NamesThreeAtMost)
{
    QStringList names;
    QStringList said;
    for (char const* name : { "A", "B", "C", "D", "E" }) {
        said << DisTypingStatus::text(names, 5);
        names << QLatin1String(name);
    }
    said << DisTypingStatus::text(names, 5);
    EXPECT_EQ(said.join(u'|').toStdString(),
              "|A is typing…|A and B are typing…|A, B, and C are typing…|4 users are typing…|"
              "Many users are typing…");
}

TEST(ChannelState, SaysTheFirstThingThatIsMissing)
{
    using Type = DisChannelType;
    struct {
        DisChannelState state;
        char const* text;
        bool canFetch = false;
    } const cases[] = {
        { {}, "No channel is open." },
        { { true }, "There is no Discord account yet. Add one in Accounts." },
        { { true, true }, "Not connected." },
        { { true, true, true }, "Connecting…" },
        { { true, true, true, true }, "This channel is not known here." },
        { { true, true, true, true, Type::GuildVoice }, "This channel holds no messages." },
        { { true, true, true, true, Type::GuildText }, "Loading messages…", true },
        { { true, true, true, true, Type::GuildText, false },
          "You have no access to this channel." },
        { { true, true, true, true, Type::GuildText, true, true }, "No messages yet." },
    };
    for (auto const& c : cases) {
        EXPECT_EQ(DisChannelStates::emptyText(c.state).toStdString(), c.text);
        EXPECT_EQ(DisChannelStates::canFetchHistory(c.state), c.canFetch) << c.text;
    }
}

class ChannelView : public ChatTest {
protected:
    using HintMode = DisChatInputTextEdit::VisualHintMode;

    ChannelView()
    {
        world.connectOwnUser();
        view = std::make_unique<DisChannelView>();
        view->resize(640, 420);
        view->show();
        view->setChannelId(world.channel);
    }
    ~ChannelView() override { view.reset(); }

    void submit(QString const& text)
    {
        view->input()->setPlainText(text);
        view->input()->moveCursor(QTextCursor::End);
        press("Return");
    }
    void press(char const* keys) { pressKeys(view->input(), keys); }
    QString typed() const { return view->input()->toPlainText(); }

    bool waitForRequest(char const* part)
    {
        return waitUntil([&] { return world.requests().contains(part); });
    }

    std::unique_ptr<DisChannelView> view;
};

TEST_F(ChannelView, SendsWhatIsNotTooLongInCodePoints)
{
    auto const& pending = g_disClient->pendingMessages_hack();
    submit(QStringLiteral("\U0001F600").repeated(2000));
    EXPECT_EQ(typed(), QString());
    ASSERT_EQ(pending.size(), 1);
    EXPECT_EQ(pending.first().text, QStringLiteral("\U0001F600").repeated(2000));
    EXPECT_TRUE(waitForRequest("POST /api/v6/channels/60/messages"));
    submit(QStringLiteral("\U0001F600").repeated(2001));
    EXPECT_EQ(pending.size(), 1);
    EXPECT_EQ(typed(), QStringLiteral("\U0001F600").repeated(2001));
    auto* box = view->findChild<QMessageBox*>();
    ASSERT_NE(box, nullptr);
    EXPECT_FALSE(box->isModal());
    EXPECT_EQ(box->text().toStdString(),
              "Messages are limited to 2000 characters. This message is 2001 characters.");
}

TEST_F(ChannelView, UpEditsTheNewestOwnMessageUntilItIsLeft)
{
    world.addMessage(idAt(0), world.ownUser, QStringLiteral("older"));
    world.addMessage(idAt(1000), world.ownUser, QStringLiteral("newest"));
    world.addMessage(idAt(2000), FlakeId(9), QStringLiteral("of another"));
    view->input()->setPlainText(QStringLiteral("draft"));
    press("Esc");
    EXPECT_EQ(typed(), QStringLiteral("draft"));
    view->input()->clear();
    for (bool byEscape : { true, false }) {
        press("Up");
        EXPECT_EQ(typed(), QStringLiteral("newest"));
        EXPECT_EQ(view->input()->visualHintMode(), HintMode::EditingMessage);
        EXPECT_EQ(view->buffer()->highlightedMessage().type, DisBuffHighlightType::Editing);
        EXPECT_EQ(view->buffer()->highlightedMessage().messageId, idAt(1000));
        byEscape ? press("Esc") : view->setChannelId(FlakeId(61));
        EXPECT_EQ(typed(), QString());
        EXPECT_EQ(view->input()->visualHintMode(), HintMode::Normal);
        EXPECT_EQ(view->buffer()->highlightedMessage().type, DisBuffHighlightType::None);
    }
}

TEST_F(ChannelView, TextThatWasNotSentStaysWithItsChannel)
{
    world.addMessage(idAt(0), world.ownUser, QStringLiteral("sent"));
    view->input()->setPlainText(QStringLiteral("half"));
    FlakeId const other(61);
    struct {
        char const* what;
        std::function<void()> step;
        char const* typed;
    } const steps[] = {
        { "another channel", [&] { view->setChannelId(other); }, "" },
        { "text there", [&] { view->input()->setPlainText(QStringLiteral("more")); }, "more" },
        { "back", [&] { view->setChannelId(world.channel); }, "half" },
        { "an edit", [&] { emit view->buffer()->editRequested(idAt(0)); }, "sent" },
        { "left for the other", [&] { view->setChannelId(other); }, "more" },
        { "back from it", [&] { view->setChannelId(world.channel); }, "half" },
        { "an edit that is sent",
          [&] {
              emit view->buffer()->editRequested(idAt(0));
              submit(QStringLiteral("edited"));
          },
          "half" },
        { "another view",
          [&] {
              view = std::make_unique<DisChannelView>();
              view->setChannelId(world.channel);
          },
          "half" },
        { "sent and left",
          [&] {
              submit(QStringLiteral("whole"));
              view->setChannelId(other);
              view->setChannelId(world.channel);
          },
          "" },
    };
    for (auto const& step : steps) {
        step.step();
        EXPECT_EQ(typed().toStdString(), step.typed) << step.what;
    }
}

TEST_F(ChannelView, AnEditIsSentOnlyIfItChangesSomething)
{
    world.addMessage(idAt(1000), world.ownUser, QStringLiteral("text"));
    press("Up, Return");
    EXPECT_EQ(typed(), QString());
    EXPECT_EQ(view->input()->visualHintMode(), HintMode::Normal);

    press("Up");
    QTest::keyClicks(view->input(), QStringLiteral("!"));
    press("Return");
    EXPECT_TRUE(waitForRequest("text!"));
    // By the time the second edit's has come, the first's would have too.
    EXPECT_EQ(world.requests().count("PATCH "), 1);
    EXPECT_TRUE(g_disClient->pendingMessages_hack().isEmpty());
}

TEST_F(ChannelView, AsksForHistoryOnceWhenShown)
{
    EXPECT_TRUE(waitForRequest("GET /api/v6/channels/60/messages?limit=100"));
    view->hide();
    view->show();
    submit(QStringLiteral("behind it"));
    EXPECT_TRUE(waitForRequest("behind it"));
    EXPECT_EQ(world.requests().count("limit=100"), 1);
}

TEST_F(ChannelView, FollowsWhatTheChannelIs)
{
    EXPECT_TRUE(view->input()->isEnabled());
    EXPECT_EQ(view->input()->hintText(), QStringLiteral("Message #general"));
    EXPECT_FALSE(view->topicLine()->isVisible());
    view->input()->setPlainText(QStringLiteral("draft"));
    // The own user owns the guild and so may ignore the limit; someone else owns it from here on.
    world.exec(QStringLiteral("update guild_channel set rate_limit_per_user = 5, "
                              "topic = '<b>news</b>\n and more'; "
                              "update guild set owner_id = 9"));
    world.announceReload();
    EXPECT_FALSE(view->input()->isEnabled());
    EXPECT_EQ(typed(), QString());
    EXPECT_EQ(view->input()->hintText().toStdString(),
              "This channel is rate limited. Nakwire does not yet support rate limiting.");
    EXPECT_TRUE(view->topicLine()->isVisible());
    EXPECT_EQ(view->topicLine()->shownText(), QStringLiteral("<b>news</b> and more"));
    EXPECT_FALSE(view->topicLine()->toolTip().contains(QStringLiteral("<b>")));
}

TEST_F(ChannelView, TabTellsWhereItIsAndWhoTypes)
{
    EXPECT_EQ(view->focusProxy(), view->input());
    EXPECT_EQ(view->tabText(), QStringLiteral("#general"));
    EXPECT_EQ(view->tabNavLoc(), NakNavLoc::discordChannel(world.channel));
    EXPECT_TRUE(view->tabCanSetNavLoc(NakNavLoc::discordChannel(FlakeId(61))));
    EXPECT_FALSE(view->tabCanSetNavLoc(NakNavLoc::discordFriends()));
    EXPECT_FALSE(view->tabCanSetNavLoc(NakNavLoc()));
    ASSERT_EQ(view->tabMenuBarActions().size(), 1);
    EXPECT_EQ(view->tabMenuBarActions().first()->text(), QStringLiteral("&Channel"));

    world.addUser(FlakeId(2001), QStringLiteral("alice"));
    QSignalSpy const spy(view.get(), &DisChannelView::tabStatusUpdated);
    view->tabSetStatusIsVisible(true);
    emit g_disClient->typingStarts({ { world.channel, FlakeId(2001), 0 } });
    emit g_disClient->typingStarts({ { FlakeId(61), FlakeId(2001), 0 } });
    EXPECT_EQ(spy.count(), 1);
}

} // namespace
