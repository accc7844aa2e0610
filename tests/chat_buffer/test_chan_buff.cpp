// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "chat_world.h"
#include "dis_buff_group_widget.h"
#include "dis_buff_msg_content_widget.h"
#include "dis_chan_buff.h"
#include "dis_text_view.h"
#include "zil_drag_dial.h"

#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QScreen>
#include <QSignalSpy>
#include <QWheelEvent>

#include <algorithm>
#include <map>

namespace {

constexpr qint64 farApart = 200000; // milliseconds; never in one span

class ChanBuff : public ChatTest {
protected:
    ChanBuff()
    {
        world.connectOwnUser();
        world.addUser(alice, QStringLiteral("alice"));
        world.addUser(bob, QStringLiteral("bob"));
        buffer = std::make_unique<DisChanBuff>();
        buffer->resize(500, 400);
        buffer->show();
    }
    ~ChanBuff() override { buffer.reset(); }

    // Messages 0 to count - 1, each a group of its own, authors in turn.
    void fill(int count)
    {
        world.addMessages(count, [this](int i) {
            return ChatMessage{ idAt(i * farApart), i % 2 == 0 ? alice : bob,
                                QStringLiteral("message %1").arg(i) };
        });
    }
    // Of one author, a millisecond apart.
    void fillSpan(int count, qint64 from, FlakeId author)
    {
        world.addMessages(count, [&](int i) {
            return ChatMessage{ idAt(from + i), author, QStringLiteral("line %1").arg(i) };
        });
    }

    void open()
    {
        buffer->setChannelId(world.channel);
        settle();
    }

    // Somebody says something, and the view knows.
    void say(FlakeId id, FlakeId author, QString const& text)
    {
        world.addMessage(id, author, text);
        world.announceCreated(id, author);
        settle();
    }
    void confirm(FlakeId nonce, FlakeId id, QString const& text)
    {
        world.addMessage(id, world.ownUser, text);
        world.announceCreated(id, world.ownUser, nonce);
        settle();
    }
    void change(FlakeId message, char const* set, DisChange::ChangeType type)
    {
        world.exec(QStringLiteral("update message set %1 where id = %2")
                       .arg(QLatin1String(set), message.toString()));
        world.announce(type, message);
        settle();
    }

    QVector<DisBuffMsgContentWidget*> contents() const
    {
        QVector<DisBuffMsgContentWidget*> all =
            buffer->view()->findChildren<DisBuffMsgContentWidget*>().toVector();
        std::sort(all.begin(), all.end(),
                  [this](auto const* a, auto const* b) { return topOf(a) < topOf(b); });
        return all;
    }

    int topOf(QWidget const* widget) const
    {
        return widget->mapTo(buffer->view(), QPoint(0, 0)).y();
    }

    // The texts in the order of the screen, "p:" before pending ones; the last of them only.
    std::string shown(int last = 1000) const
    {
        QStringList texts;
        for (DisBuffMsgContentWidget const* content : contents())
            texts.append((content->buffItem().isPending() ? QStringLiteral("p:") : QString())
                         + content->findChild<DisTextView*>()->document()->toPlainText());
        return texts.mid(std::max(0, texts.size() - last)).join(QLatin1Char('|')).toStdString();
    }

    bool isAtTheEnd() const
    {
        ZilViewItem const last = buffer->view()->itemAt(buffer->view()->count() - 1);
        return last.top + last.height == buffer->view()->height();
    }

    using Tops = std::map<quint64, int>; // by message
    Tops topsOnScreen() const
    {
        Tops tops;
        for (DisBuffMsgContentWidget const* content : contents()) {
            int const top = topOf(content);
            if (top >= 0 && top < buffer->view()->height())
                tops[content->buffItem().id.value()] = top;
        }
        return tops;
    }

    void wheel(int clicks, int times = 1)
    {
        QPoint const pos(20, 20);
        QWheelEvent event(pos, buffer->view()->mapToGlobal(pos), QPoint(), QPoint(0, 120 * clicks),
                          Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        for (; times > 0; --times) {
            QApplication::sendEvent(buffer->view(), &event);
            settle();
        }
    }
    void press(Qt::Key key)
    {
        QTest::keyClick(buffer.get(), key);
        settle();
    }

    void expectCovered() const
    {
        ZilView const* view = buffer->view();
        ASSERT_GT(view->count(), 0);
        EXPECT_LE(view->itemAt(0).top, 0);
        int bottom = view->itemAt(0).top;
        for (int i = 0; i < view->count(); ++i) {
            EXPECT_EQ(view->itemAt(i).top, bottom);
            bottom += view->itemAt(i).height;
        }
        EXPECT_GE(bottom, view->height());
    }

    FlakeId const alice{ 2001 };
    FlakeId const bob{ 2002 };
    std::unique_ptr<DisChanBuff> buffer;
};

TEST_F(ChanBuff, AnEmptyChannelSaysSo)
{
    open();
    EXPECT_EQ(buffer->view()->count(), 0);
    buffer->setEmptyText(QStringLiteral("No messages yet."));
    auto const* label = buffer->findChild<QLabel*>();
    EXPECT_TRUE(label->isVisible());
    say(idAt(0), alice, QStringLiteral("first"));
    EXPECT_FALSE(label->isVisible());
}

TEST_F(ChanBuff, AShortChannelStandsAtTheBottomAndDoesNotScroll)
{
    fill(2);
    open();
    EXPECT_EQ(shown(), "message 0|message 1");
    EXPECT_TRUE(isAtTheEnd());
    wheel(1);
    EXPECT_TRUE(isAtTheEnd());
    EXPECT_TRUE(buffer->isStuckToEnd());
}

TEST_F(ChanBuff, LongHistoryIsNeverLoaded)
{
    fill(100000);
    open();
    expectCovered();
    EXPECT_EQ(shown(2), "message 99998|message 99999");
    EXPECT_TRUE(isAtTheEnd());
    int widgets = 0;
    for (int i = 0; i < 400; ++i) {
        wheel(i % 7 == 6 ? -1 : 3);
        expectCovered();
        widgets = std::max(widgets, buffer->findChildren<QWidget*>().size());
    }
    EXPECT_LT(widgets, 200);
    EXPECT_FALSE(buffer->isStuckToEnd());
    for (int i = 0; i < 20; ++i) {
        press(Qt::Key_PageUp);
        expectCovered();
    }
    emit buffer->findChild<ZilDragDial*>()->movedInt(-57);
    settle();
    expectCovered();
    press(Qt::Key_End);
    EXPECT_TRUE(isAtTheEnd());
    EXPECT_TRUE(buffer->isStuckToEnd());
    EXPECT_EQ(shown(1), "message 99999");
}

TEST_F(ChanBuff, TheWheelMovesByItsScaleAndStopsAtBothEnds)
{
    fill(40);
    open();
    wheel(2);
    Tops const before = topsOnScreen();
    wheel(1);
    Tops const after = topsOnScreen();
    int compared = 0;
    for (auto const& [id, top] : before) {
        if (after.count(id) != 0) {
            EXPECT_EQ(after.at(id), top + 60);
            ++compared;
        }
    }
    EXPECT_GT(compared, 3);
    wheel(3, 60);
    EXPECT_EQ(buffer->view()->itemAt(0).top, 0);
    EXPECT_EQ(shown().substr(0, 20), "message 0|message 1|");
    EXPECT_FALSE(buffer->isStuckToEnd());
    wheel(-3, 60);
    EXPECT_TRUE(isAtTheEnd());
    EXPECT_TRUE(buffer->isStuckToEnd());
}

TEST_F(ChanBuff, APureShiftAndARepaintReadNothing)
{
    fill(50);
    fillSpan(100, 50 * farApart, alice); // one group much higher than the view
    open();
    wheel(1);
    quint64 const before = buffer->reads().readCount();
    wheel(1);
    wheel(-1);
    buffer->view()->repaint();
    EXPECT_EQ(buffer->reads().readCount(), before);
}

TEST_F(ChanBuff, NewMessagesScrollInOnlyAtTheEnd)
{
    fill(100);
    open();
    DisBuffMsgContentWidget* const last = contents().last();
    say(idAt(99 * farApart + 5), bob, QStringLiteral("joined"));
    EXPECT_EQ(shown(2), "message 99|joined");
    EXPECT_EQ(contents().at(contents().size() - 2), last) << "its group's widgets are left alone";
    say(idAt(100 * farApart), alice, QStringLiteral("new one"));
    EXPECT_EQ(shown(2), "joined|new one");
    EXPECT_TRUE(isAtTheEnd());

    wheel(3);
    Tops const before = topsOnScreen();
    say(idAt(100 * farApart + 1000), alice, QStringLiteral("grouped"));
    EXPECT_EQ(topsOnScreen(), before);
    press(Qt::Key_End);
    EXPECT_EQ(shown(3), "joined|new one|grouped");

    buffer->updateViewWithDelta(5); // the last group stays partly on screen
    settle();
    ASSERT_FALSE(buffer->isStuckToEnd());
    quint64 const partly = idAt(100 * farApart).value();
    int const top = topsOnScreen().at(partly);
    say(idAt(100 * farApart + 2000), alice, QStringLiteral("more"));
    EXPECT_EQ(topsOnScreen().at(partly), top);
    EXPECT_EQ(shown().find("new one"), shown().rfind("new one")) << "appears once";
}

TEST_F(ChanBuff, ABurstIsOnePass)
{
    fill(100);
    open();
    quint64 const before = buffer->reads().readCount();
    for (int i = 0; i < 20; ++i) {
        FlakeId const id = idAt(100 * farApart + i);
        world.addMessage(id, alice, QStringLiteral("burst %1").arg(i));
        world.announceCreated(id, alice);
    }
    EXPECT_EQ(buffer->reads().readCount(), before);
    settle();
    EXPECT_EQ(shown(3), "burst 17|burst 18|burst 19");
    EXPECT_TRUE(isAtTheEnd());
}

TEST_F(ChanBuff, OlderHistoryDoesNotMoveWhatIsOnScreen)
{
    // The store has the newer half; the oldest of it joins the span of what comes before.
    auto const addHalf = [this](int from, char const* text) {
        world.addMessages(30, [&](int i) {
            return ChatMessage{ idAt((from + i) * 100000),
                                from + i < 35 || i % 2 == 0 ? alice : bob,
                                QLatin1String(text) + QString::number(i) };
        });
    };
    addHalf(30, "newer ");
    open();
    wheel(3, 40);
    ASSERT_EQ(shown().substr(0, 8), "newer 0|");
    Tops const before = topsOnScreen();
    addHalf(0, "older ");
    world.announceHistory();
    settle();
    // The header that stood above the oldest message makes room for what joins it.
    Tops const after = topsOnScreen();
    for (auto const& [id, top] : before)
        EXPECT_EQ(after.count(id) != 0 ? after.at(id) : -1, top) << id;
    wheel(1);
    EXPECT_NE(shown().find("older 29|newer 0"), std::string::npos);
}

TEST_F(ChanBuff, HistoryThatJoinsTheOnlyGroupOnScreenDoesNotMoveIt)
{
    fillSpan(40, 40, alice);
    open();
    wheel(3);
    ASSERT_EQ(buffer->view()->count(), 1);
    Tops const before = topsOnScreen();
    fillSpan(20, 20, alice);
    world.announceHistory();
    settle();
    EXPECT_EQ(topsOnScreen(), before);
}

TEST_F(ChanBuff, AsksForOlderHistoryNearTheOldestAndAgainAfterAPage)
{
    QSignalSpy const spy(buffer.get(), &DisChanBuff::nearingEndOfAvailableMessagesWithOldestId);
    auto const asked = [&] {
        buffer->checkOldestMessage();
        return spy.count();
    };
    open();
    EXPECT_EQ(asked(), 0) << "nothing is there";
    fill(300);
    world.announceReload();
    settle();
    EXPECT_EQ(asked(), 0) << "it is far away";
    world.exec(
        QStringLiteral("delete from message where id > %1").arg(idAt(30 * farApart).value()));
    world.addUser(FlakeId(2009), QStringLiteral("muted"));
    world.addMessage(idAt(-5), FlakeId(2009), QStringLiteral("oldest"));
    g_disManager->addMutedUser(FlakeId(2009));
    world.announceReload();
    settle();
    EXPECT_EQ(asked(), 1);
    EXPECT_EQ(spy.at(0).at(0).value<FlakeId>(), idAt(-5));
    EXPECT_EQ(asked(), 1);
    world.announceHistory();
    EXPECT_EQ(asked(), 2);
}

TEST_F(ChanBuff, APendingMessageIsConfirmedInPlace)
{
    fill(50);
    open();
    FlakeId const nonce = idAt(50 * farApart);
    world.addPending(nonce, QStringLiteral("mine"));
    world.announce(DisChange::ChangeType::MessageCreated, nonce);
    settle();
    ASSERT_EQ(shown(2), "message 49|p:mine");
    DisBuffMsgContentWidget* const content = contents().last();
    EXPECT_TRUE(content->findChild<DisTextView*>()->displayAsPending());
    int const top = topOf(content);
    QSignalSpy const layouts(buffer->view(), &ZilView::layoutChanged);
    confirm(nonce, idAt(50 * farApart + 40), QStringLiteral("mine"));
    EXPECT_EQ(shown(2), "message 49|mine");
    EXPECT_EQ(contents().last(), content);
    EXPECT_EQ(topOf(content), top);
    EXPECT_FALSE(content->findChild<DisTextView*>()->displayAsPending());
    EXPECT_EQ(layouts.count(), 0);

    world.addPending(idAt(51 * farApart), QStringLiteral("oops"));
    world.announceReload();
    settle();
    ASSERT_EQ(shown(2), "mine|p:oops");
    g_disClient->pendingMessages_hack().clear(); // cancelled
    world.announce(DisChange::ChangeType::MessageChanged, idAt(51 * farApart));
    settle();
    EXPECT_EQ(shown(2), "message 49|mine");
}

TEST_F(ChanBuff, PendingMessagesConfirmedOutOfOrderAreShownInOrder)
{
    fill(3);
    qint64 const now = 3 * farApart;
    auto const addPending = [&](std::initializer_list<quint64> numbers) {
        for (quint64 n : numbers)
            world.addPending(idAt(now, n), QStringLiteral("p%1").arg(n));
        world.announceReload();
        settle();
    };
    auto const confirmed = [&](quint64 n, qint64 later) {
        confirm(idAt(now, n), idAt(now + later), QStringLiteral("c%1").arg(n));
        return shown(5);
    };
    open();
    addPending({ 1, 2, 3 });
    EXPECT_EQ(confirmed(2, 50), "message 1|message 2|c2|p:p1|p:p3");
    EXPECT_EQ(confirmed(1, 60), "message 1|message 2|c2|c1|p:p3");
    EXPECT_EQ(confirmed(3, 70), "message 1|message 2|c2|c1|c3");
    // Behind one of the same span: the span's ends alone do not tell the order.
    addPending({ 4, 5, 6 });
    EXPECT_EQ(confirmed(5, 80), "c1|c3|c5|p:p4|p:p6");
}

TEST_F(ChanBuff, EditsAndDeletionsRepaintInPlace)
{
    using Type = DisChange::ChangeType;
    fill(30);
    open();
    DisBuffMsgContentWidget* const content = contents().last();
    FlakeId const id = content->buffItem().id;
    change(id, "content = 'changed', edited = 1", Type::MessageChanged);
    EXPECT_EQ(shown(1), "changed [edited]");
    EXPECT_EQ(contents().last(), content);
    change(id, "deleted = 1", Type::MessageDeleted);
    EXPECT_EQ(shown(1), "[deleted]");
    // A longer text makes its group higher, and the end stays at the bottom.
    change(id, "deleted = 0, content = replace(hex(zeroblob(300)), '00', 'long text ')",
           Type::MessageChanged);
    EXPECT_GT(content->height(), 3 * content->fontMetrics().height());
    EXPECT_TRUE(isAtTheEnd());
}

TEST_F(ChanBuff, SelectionIsAToggleAndEnablesCopying)
{
    fill(5);
    open();
    QSignalSpy const spy(buffer.get(), &DisChanBuff::selectionChangedByInteraction);
    EXPECT_FALSE(buffer->copyMessageTextAction()->isEnabled());
    DisBuffMsgContentWidget* const content = contents().at(3);
    QTest::mouseClick(content->findChild<DisTextView*>(), Qt::LeftButton, {}, QPoint(3, 3));
    EXPECT_EQ(content->highlight(), DisBuffHighlightType::Selected);
    EXPECT_EQ(buffer->selectedPlainText(), QStringLiteral("message 3"));
    EXPECT_TRUE(buffer->copyMessageTextAction()->isEnabled());
    QTest::mouseClick(content, Qt::LeftButton, {}, QPoint(3, 3));
    EXPECT_EQ(content->highlight(), DisBuffHighlightType::None);
    ASSERT_EQ(spy.count(), 2);
    EXPECT_EQ(spy.at(0).at(0).value<FlakeId>(), idAt(3 * farApart));
    EXPECT_FALSE(spy.at(1).at(0).value<FlakeId>().isValid());
}

TEST_F(ChanBuff, MutingHidesAndShowsInPlace)
{
    fill(100);
    open();
    g_disManager->addMutedUser(bob);
    settle();
    EXPECT_EQ(shown(2), "message 96|message 98");
    g_disManager->removeMutedUser(bob);
    settle();
    EXPECT_EQ(shown(2), "message 98|message 99");

    wheel(40);
    Tops const before = topsOnScreen();
    g_disManager->addMutedUser(bob);
    settle();
    ASSERT_FALSE(buffer->isStuckToEnd());
    // The topmost message that is still there stands where it was.
    Tops const after = topsOnScreen();
    auto const stays = std::find_if(before.begin(), before.end(), [](auto const& entry) {
        qint64 const start = idAt(0).toMSecsSinceEpoch_Discord();
        return (FlakeId(entry.first).toMSecsSinceEpoch_Discord() - start) / farApart % 2 == 0;
    });
    EXPECT_EQ(after.count(stays->first) != 0 ? after.at(stays->first) : -1, stays->second);
}

TEST_F(ChanBuff, ABotsLogDoesNotBecomeOneWidget)
{
    fillSpan(5000, 0, bob);
    open();
    for (int i = 0; i < 30; ++i) {
        wheel(3);
        expectCovered();
        EXPECT_LT(buffer->findChildren<DisBuffMsgContentWidget*>().size(), 500);
    }
}

TEST_F(ChanBuff, WhatScrollingLeavesOnTheScreenIsWhatPaintingGives)
{
    fill(300);
    open();
    for (int i = 0; i < 25; ++i) {
        buffer->updateViewWithDelta((i * 37) % 90 - 25);
        settle();
    }
    QImage const screen = buffer->screen()
                              ->grabWindow(buffer->winId())
                              .toImage()
                              .convertToFormat(QImage::Format_RGB32);
    QImage const painted = buffer->grab().toImage().convertToFormat(QImage::Format_RGB32);
    ASSERT_EQ(screen.size(), painted.size());
    EXPECT_TRUE(screen == painted);
}

TEST_F(ChanBuff, AnEmptiedStoreKeepsTheScreenUntilHistoryComes)
{
    fill(10);
    open();
    std::string const before = shown();
    world.exec(QStringLiteral("delete from message"));
    world.announceReload();
    settle();
    EXPECT_EQ(shown(), before);
    fill(12);
    world.announceHistory();
    settle();
    EXPECT_EQ(shown(3), "message 9|message 10|message 11");

    buffer->setChannelId(FlakeId(61)); // another channel keeps nothing
    settle();
    EXPECT_EQ(buffer->view()->count(), 0);
    open();
    EXPECT_EQ(shown(1), "message 11");
    buffer->setChannelId(FlakeId());
    EXPECT_EQ(buffer->view()->count(), 0);
}

TEST_F(ChanBuff, AResizeStormKeepsTheEndAtTheBottom)
{
    world.addMessages(200, [this](int i) {
        return ChatMessage{ idAt(i * farApart), alice,
                            QStringLiteral("words ").repeated(1 + i % 60) };
    });
    open();
    for (int i = 0; i < 60; ++i) {
        buffer->resize(120 + (i * 97) % 900, 60 + (i * 53) % 700);
        if (i % 5 == 0)
            settle();
    }
    buffer->resize(640, 420);
    EXPECT_TRUE(waitUntil([this] { return isAtTheEnd(); }));
    expectCovered();
    for (DisBuffMsgContentWidget const* content : contents())
        EXPECT_LE(content->findChild<DisTextView*>()->geometry().bottom(), content->height());
}

} // namespace
