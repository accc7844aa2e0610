// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "chat_world.h"
#include "dis_chan_buff.h"
#include "dis_channel_state.h"
#include "dis_channel_view.h"
#include "dis_chat_input_text_edit.h"
#include "dis_topic_line.h"
#include "dis_typing_status.h"
#include "vari_chat_input_handler.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QMessageBox>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

namespace {

struct KeyCase {
    char const* name;
    char const* text; // "^" is the cursor
    Qt::Key key;
    Qt::KeyboardModifiers modifiers;
    bool fenceAware;
    char const* result; // the text behind the key
    char const* emitted; // signals in order: "s" submitted, "u" up, "e" escape, "k" scroll key
};

KeyCase const keyCases[] = {
    { "enter sends", "hello^", Qt::Key_Return, Qt::NoModifier, false, "hello", "s" },
    { "keypad enter sends", "hello^", Qt::Key_Enter, Qt::KeypadModifier, false, "hello", "s" },
    { "enter in the middle sends all", "he^llo", Qt::Key_Return, Qt::NoModifier, true, "hello",
      "s" },
    { "shift and enter is a line", "he^llo", Qt::Key_Return, Qt::ShiftModifier, false, "he\nllo",
      "" },
    { "enter with nothing", "^", Qt::Key_Return, Qt::NoModifier, false, "", "" },
    { "shift and enter with nothing", "^", Qt::Key_Return, Qt::ShiftModifier, false, "\n", "" },
    { "open fence", "```a^", Qt::Key_Return, Qt::NoModifier, true, "```a\n", "" },
    { "open fence, not aware", "```a^", Qt::Key_Return, Qt::NoModifier, false, "```a", "s" },
    { "closed fence", "```a```^", Qt::Key_Return, Qt::NoModifier, true, "```a```", "s" },
    { "third fence", "```a``` ```^", Qt::Key_Return, Qt::NoModifier, true, "```a``` ```\n", "" },
    { "cursor before the fence", "a^```b", Qt::Key_Return, Qt::NoModifier, true, "a```b", "s" },
    { "cursor between", "```a^```", Qt::Key_Return, Qt::NoModifier, true, "```a\n```", "" },
    { "escaped fence", "\\```a^", Qt::Key_Return, Qt::NoModifier, true, "\\```a", "s" },
    { "fence on an earlier line", "```\na^", Qt::Key_Return, Qt::NoModifier, true, "```\na\n", "" },
    { "tab inserts nothing", "a^", Qt::Key_Tab, Qt::NoModifier, false, "a", "" },
    { "up with nothing", "^", Qt::Key_Up, Qt::NoModifier, false, "", "u" },
    { "up with text", "a^", Qt::Key_Up, Qt::NoModifier, false, "a", "" },
    { "escape", "a^", Qt::Key_Escape, Qt::NoModifier, false, "a", "e" },
    { "page up with nothing", "^", Qt::Key_PageUp, Qt::NoModifier, false, "", "k" },
    { "page up with text", "a^", Qt::Key_PageUp, Qt::NoModifier, false, "a", "" },
    { "end with nothing", "^", Qt::Key_End, Qt::NoModifier, false, "", "k" },
};

TEST(ChatInput, KeysDoWhatTheTableSays)
{
    for (KeyCase const& c : keyCases) {
        DisChatInputTextEdit input;
        input.setFenceAwareEnter(c.fenceAware);
        QString text = QString::fromUtf8(c.text);
        int const cursorAt = text.indexOf(QLatin1Char('^'));
        text.remove(cursorAt, 1);
        input.setPlainText(text);
        QTextCursor cursor = input.textCursor();
        cursor.setPosition(cursorAt);
        input.setTextCursor(cursor);
        QString emitted;
        QObject::connect(&input, &DisChatInputTextEdit::messageSubmitted, &input,
                         [&](QString const& sent) {
                             emitted += QLatin1Char('s');
                             EXPECT_EQ(sent, input.toPlainText());
                         });
        QObject::connect(&input, &DisChatInputTextEdit::pressedUpWithNoContent, &input,
                         [&] { emitted += QLatin1Char('u'); });
        QObject::connect(&input, &DisChatInputTextEdit::pressedEscape, &input,
                         [&] { emitted += QLatin1Char('e'); });
        QObject::connect(&input, &DisChatInputTextEdit::scrollKeyPressed, &input,
                         [&] { emitted += QLatin1Char('k'); });
        QTest::keyClick(&input, c.key, c.modifiers);
        EXPECT_EQ(input.toPlainText(), QString::fromUtf8(c.result)) << c.name;
        EXPECT_EQ(emitted, QLatin1String(c.emitted)) << c.name;
    }
}

TEST(ChatInput, CodePointsCountAstralCharactersOnce)
{
    EXPECT_EQ(DisChatInputTextEdit::countCodePoints(QString()), 0);
    EXPECT_EQ(DisChatInputTextEdit::countCodePoints(QStringLiteral("a\u00e9\u4e2d")), 3);
    EXPECT_EQ(DisChatInputTextEdit::countCodePoints(QStringLiteral("\U0001F600b")), 2);
}

TEST(ChatInput, BoxGrowsFromOneLineToFive)
{
    DisChatInputTextEdit input;
    auto* handler = new VariChatInputHandler(&input);
    input.resize(300, 20);
    input.show();
    handler->setMetrics(20, 3);
    int const expected[] = { 23, 23, 43, 63, 83, 103, 103, 103 };
    for (int lines = 0; lines < 8; ++lines) {
        QStringList text;
        for (int i = 0; i < lines; ++i) {
            text.append(QStringLiteral("x"));
        }
        input.setPlainText(text.join(QLatin1Char('\n')));
        handler->updateHeight();
        EXPECT_EQ(input.minimumHeight(), expected[lines]) << lines;
        EXPECT_EQ(input.verticalScrollBarPolicy(),
                  lines > 5 ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAlwaysOff)
            << lines;
    }
    input.setPlainText(QStringLiteral("word ").repeated(30));
    handler->updateHeight();
    EXPECT_GT(input.minimumHeight(), 23) << "wrapped lines count";
}

TEST(TypingStatus, WordsOfTheTable)
{
    auto text = [](int count) {
        QStringList names;
        for (int i = 0; i < count; ++i) {
            names.append(QString(QChar('A' + i)));
        }
        return DisTypingStatus::text(names, 10);
    };
    EXPECT_EQ(text(0), QString());
    EXPECT_EQ(text(1), QStringLiteral("A is typing\u2026"));
    EXPECT_EQ(text(2), QStringLiteral("A and B are typing\u2026"));
    EXPECT_EQ(text(3), QStringLiteral("A, B, and C are typing\u2026"));
    EXPECT_EQ(text(4), QStringLiteral("4 users are typing\u2026"));
    EXPECT_EQ(text(9), QStringLiteral("9 users are typing\u2026"));
    EXPECT_EQ(text(10), QStringLiteral("Many users are typing\u2026"));
    EXPECT_EQ(DisTypingStatus::text({ QStringLiteral("A"), QStringLiteral("B") }, 2),
              QStringLiteral("Many users are typing\u2026"));
}

TEST(ChannelState, SaysTheFirstThingThatIsMissing)
{
    DisChannelState state;
    auto text = [&state] { return DisChannelStates::emptyText(state); };
    EXPECT_EQ(text(), QStringLiteral("No channel is open."));
    state.hasChannel = true;
    EXPECT_EQ(text(), QStringLiteral("There is no Discord account yet. Add one in Accounts."));
    state.hasAccounts = true;
    EXPECT_EQ(text(), QStringLiteral("Not connected."));
    state.connecting = true;
    EXPECT_EQ(text(), QStringLiteral("Connecting\u2026"));
    state.hasUser = true;
    EXPECT_EQ(text(), QStringLiteral("This channel is not known here."));
    EXPECT_FALSE(DisChannelStates::canFetchHistory(state));
    state.type = DisChannelType::GuildVoice;
    EXPECT_EQ(text(), QStringLiteral("This channel holds no messages."));
    state.type = DisChannelType::GuildText;
    EXPECT_EQ(text(), QStringLiteral("Loading messages\u2026"));
    EXPECT_TRUE(DisChannelStates::canFetchHistory(state));
    state.hasAccess = false;
    EXPECT_EQ(text(), QStringLiteral("You have no access to this channel."));
    EXPECT_FALSE(DisChannelStates::canFetchHistory(state));
    state.hasAccess = true;
    state.historyFetched = true;
    EXPECT_EQ(text(), QStringLiteral("No messages yet."));
    EXPECT_FALSE(DisChannelStates::canFetchHistory(state));
}

class ChannelView : public ChatTest {
protected:
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
        QTest::keyClick(view->input(), Qt::Key_Return);
    }

    int pendingCount() const { return g_disClient->pendingMessages_hack().size(); }

    // Requests of one kind that have arrived, once something has or the time is over.
    QStringList requestsWith(QString const& word, int wanted)
    {
        QStringList found;
        QElapsedTimer clock;
        clock.start();
        while (found.size() < wanted && clock.elapsed() < 5000) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
            found = world.requests().requests().filter(word);
        }
        return found;
    }

    std::unique_ptr<DisChannelView> view;
};

TEST_F(ChannelView, SendsALine)
{
    submit(QStringLiteral("hello there"));
    EXPECT_EQ(view->input()->toPlainText(), QString());
    ASSERT_EQ(pendingCount(), 1);
    EXPECT_EQ(g_disClient->pendingMessages_hack().first().text, QStringLiteral("hello there"));
    EXPECT_EQ(requestsWith(QStringLiteral("POST /api/v6/channels/60/messages"), 1).size(), 1);
}

TEST_F(ChannelView, TheLimitCountsCodePointsOfWhatIsSent)
{
    submit(QStringLiteral("\U0001F600").repeated(2000));
    EXPECT_EQ(pendingCount(), 1);
    submit(QStringLiteral("\U0001F600").repeated(2001));
    EXPECT_EQ(pendingCount(), 1);
    EXPECT_EQ(DisChatInputTextEdit::countCodePoints(view->input()->toPlainText()), 2001);
    auto* box = view->findChild<QMessageBox*>();
    ASSERT_NE(box, nullptr);
    EXPECT_FALSE(box->isModal());
    EXPECT_EQ(box->text(),
              QStringLiteral(
                  "Messages are limited to 2000 characters. This message is 2001 characters."));
}

TEST_F(ChannelView, UpEditsTheNewestOwnMessage)
{
    world.addMessage(idAt(0), world.ownUser, QStringLiteral("older"));
    world.addMessage(idAt(1000), world.ownUser, QStringLiteral("newest"));
    world.addMessage(idAt(2000), FlakeId(9), QStringLiteral("of another"));
    QTest::keyClick(view->input(), Qt::Key_Up);
    EXPECT_EQ(view->input()->toPlainText(), QStringLiteral("newest"));
    EXPECT_EQ(view->input()->visualHintMode(),
              DisChatInputTextEdit::VisualHintMode::EditingMessage);
    EXPECT_EQ(view->buffer()->highlightedMessage().type, DisBuffHighlightType::Editing);
    EXPECT_EQ(view->buffer()->highlightedMessage().messageId, idAt(1000));

    QTest::keyClick(view->input(), Qt::Key_Escape);
    EXPECT_EQ(view->input()->toPlainText(), QString());
    EXPECT_EQ(view->input()->visualHintMode(), DisChatInputTextEdit::VisualHintMode::Normal);
    EXPECT_EQ(view->buffer()->highlightedMessage().type, DisBuffHighlightType::None);
}

TEST_F(ChannelView, AnEditIsSentOnlyIfItChangesSomething)
{
    world.addMessage(idAt(1000), world.ownUser, QStringLiteral("text"));
    QTest::keyClick(view->input(), Qt::Key_Up);
    QTest::keyClick(view->input(), Qt::Key_Return);
    EXPECT_EQ(view->input()->toPlainText(), QString());
    EXPECT_EQ(view->input()->visualHintMode(), DisChatInputTextEdit::VisualHintMode::Normal);

    QTest::keyClick(view->input(), Qt::Key_Up);
    QTest::keyClicks(view->input(), QStringLiteral("!"));
    QTest::keyClick(view->input(), Qt::Key_Return);
    // One PATCH in all: by the time the second edit's has come, the first's would have too.
    QStringList const patches = requestsWith(QStringLiteral("PATCH "), 1);
    ASSERT_EQ(patches.size(), 1);
    EXPECT_TRUE(patches.first().contains(QStringLiteral("text!")));
    EXPECT_EQ(pendingCount(), 0);
}

TEST_F(ChannelView, EscapeWithoutAnEditKeepsTheText)
{
    view->input()->setPlainText(QStringLiteral("draft"));
    QTest::keyClick(view->input(), Qt::Key_Escape);
    EXPECT_EQ(view->input()->toPlainText(), QStringLiteral("draft"));
}

TEST_F(ChannelView, AnotherChannelEndsTheEdit)
{
    world.addMessage(idAt(1000), world.ownUser, QStringLiteral("text"));
    QTest::keyClick(view->input(), Qt::Key_Up);
    view->setChannelId(FlakeId(61));
    EXPECT_EQ(view->input()->toPlainText(), QString());
    EXPECT_EQ(view->buffer()->highlightedMessage().type, DisBuffHighlightType::None);
}

TEST_F(ChannelView, AsksForHistoryOnceWhenShown)
{
    QStringList const asked =
        requestsWith(QStringLiteral("GET /api/v6/channels/60/messages?limit=100"), 1);
    EXPECT_EQ(asked.size(), 1);
    view->hide();
    view->show();
    settle();
    EXPECT_EQ(world.requests().requests().filter(QStringLiteral("limit=100")).size(), 1);
}

TEST_F(ChannelView, SlowModeClosesTheInput)
{
    EXPECT_TRUE(view->input()->isEnabled());
    EXPECT_EQ(view->input()->hintText(), QStringLiteral("Message #general"));
    // The own user owns the guild and so may ignore the limit; someone else owns it from here on.
    world.exec(QStringLiteral("update guild_channel set rate_limit_per_user = 5"));
    world.exec(QStringLiteral("update guild set owner_id = 9"));
    view->input()->setPlainText(QStringLiteral("draft"));
    world.announceReload();
    EXPECT_FALSE(view->input()->isEnabled());
    EXPECT_EQ(view->input()->toPlainText(), QString());
    EXPECT_EQ(view->input()->hintText(),
              QStringLiteral("This channel is rate limited. Nakwire does not yet support rate "
                             "limiting."));
}

TEST_F(ChannelView, TopicIsPlainAndHiddenWhenEmpty)
{
    EXPECT_FALSE(view->topicLine()->isVisible());
    world.exec(QStringLiteral("update guild_channel set topic = '<b>news</b>\n and more'"));
    world.announceReload();
    EXPECT_TRUE(view->topicLine()->isVisible());
    EXPECT_EQ(view->topicLine()->shownText(), QStringLiteral("<b>news</b> and more"));
    EXPECT_FALSE(view->topicLine()->toolTip().contains(QStringLiteral("<b>")));
}

TEST_F(ChannelView, TabTellsWhereItIs)
{
    EXPECT_EQ(view->tabText(), QStringLiteral("#general"));
    EXPECT_EQ(view->tabNavLoc(), NakNavLoc::discordChannel(world.channel));
    EXPECT_TRUE(view->tabCanSetNavLoc(NakNavLoc::discordChannel(FlakeId(61))));
    EXPECT_FALSE(view->tabCanSetNavLoc(NakNavLoc::discordFriends()));
    EXPECT_FALSE(view->tabCanSetNavLoc(NakNavLoc()));
    ASSERT_EQ(view->tabMenuBarActions().size(), 1);
    EXPECT_EQ(view->tabMenuBarActions().first()->text(), QStringLiteral("&Channel"));
}

TEST_F(ChannelView, StatusLineFollowsWhoTypes)
{
    world.addUser(FlakeId(2001), QStringLiteral("alice"));
    QSignalSpy const spy(view.get(), &DisChannelView::tabStatusUpdated);
    view->tabSetStatusIsVisible(true);
    emit g_disClient->typingStarts({ { world.channel, FlakeId(2001), 0 } });
    EXPECT_EQ(spy.count(), 1);
    emit g_disClient->typingStarts({ { FlakeId(61), FlakeId(2001), 0 } });
    EXPECT_EQ(spy.count(), 1);
}

TEST_F(ChannelView, FocusGoesToTheInput)
{
    EXPECT_EQ(view->focusProxy(), view->input());
}

} // namespace
