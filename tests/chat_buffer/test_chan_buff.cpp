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
#include <QElapsedTimer>
#include <QLabel>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
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
        world.addMessages(
            count, [](int i) { return idAt(i * farApart); },
            [this](int i) { return i % 2 == 0 ? alice : bob; },
            [](int i) { return QStringLiteral("message %1").arg(i); });
    }

    void open()
    {
        buffer->setChannelId(world.channel);
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

    // "p" marks pending ones; in the order of the screen.
    QString shown() const
    {
        QStringList texts;
        for (DisBuffMsgContentWidget const* content : contents()) {
            QString const text = content->findChild<DisTextView*>()->document()->toPlainText();
            texts.append((content->buffItem().isPending() ? QStringLiteral("p:") : QString())
                         + text);
        }
        return texts.join(QLatin1Char('|'));
    }

    int bottomOfLast() const
    {
        ZilViewItem const last = buffer->view()->itemAt(buffer->view()->count() - 1);
        return last.top + last.height;
    }

    std::map<quint64, int> topsOnScreen() const
    {
        std::map<quint64, int> tops;
        for (DisBuffMsgContentWidget const* content : contents()) {
            int const top = topOf(content);
            if (top >= 0 && top < buffer->view()->height()) {
                tops[content->buffItem().id.value()] = top;
            }
        }
        return tops;
    }

    void wheel(int clicks)
    {
        QPoint const pos(20, 20);
        QWheelEvent event(pos, buffer->view()->mapToGlobal(pos), QPoint(), QPoint(0, 120 * clicks),
                          Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(buffer->view(), &event);
        settle();
    }

    void expectCovered() const
    {
        ZilView const* view = buffer->view();
        ASSERT_GT(view->count(), 0);
        EXPECT_LE(view->itemAt(0).top, 0);
        EXPECT_GE(bottomOfLast(), view->height());
        for (int i = 1; i < view->count(); ++i) {
            EXPECT_EQ(view->itemAt(i).top, view->itemAt(i - 1).top + view->itemAt(i - 1).height);
        }
    }

    FlakeId const alice{ 2001 };
    FlakeId const bob{ 2002 };
    std::unique_ptr<DisChanBuff> buffer;
};

TEST_F(ChanBuff, EmptyChannelStaysEmptyAndAsksForNothing)
{
    QSignalSpy const spy(buffer.get(), &DisChanBuff::nearingEndOfAvailableMessagesWithOldestId);
    open();
    EXPECT_EQ(buffer->view()->count(), 0);
    buffer->checkOldestMessage();
    EXPECT_EQ(spy.count(), 0);
    buffer->setEmptyText(QStringLiteral("No messages yet."));
    auto const* label = buffer->findChild<QLabel*>();
    EXPECT_TRUE(label->isVisible());
    fill(1);
    world.announceCreated(idAt(0), alice);
    EXPECT_FALSE(label->isVisible());
}

TEST_F(ChanBuff, ShortChannelStandsAtTheBottomAndDoesNotScroll)
{
    fill(2);
    open();
    EXPECT_EQ(shown(), QStringLiteral("message 0|message 1"));
    EXPECT_EQ(bottomOfLast(), buffer->view()->height());
    wheel(1);
    EXPECT_EQ(bottomOfLast(), buffer->view()->height());
    EXPECT_TRUE(buffer->isStuckToEnd());
}

TEST_F(ChanBuff, OpensAtTheNewest)
{
    fill(100);
    open();
    expectCovered();
    EXPECT_EQ(bottomOfLast(), buffer->view()->height());
    EXPECT_TRUE(shown().endsWith(QStringLiteral("message 98|message 99")));
}

TEST_F(ChanBuff, LongHistoryIsNeverLoaded)
{
    fill(100000);
    open();
    int widgets = 0;
    for (int i = 0; i < 400; ++i) {
        wheel(i % 7 == 6 ? -1 : 3);
        expectCovered();
        widgets = std::max(widgets, buffer->findChildren<QWidget*>().size());
    }
    EXPECT_LT(widgets, 200);
    EXPECT_FALSE(buffer->isStuckToEnd());
    for (int i = 0; i < 20; ++i) {
        QTest::keyClick(buffer.get(), Qt::Key_PageUp);
        settle();
        expectCovered();
    }
    auto* dial = buffer->findChild<ZilDragDial*>();
    emit dial->movedInt(-57);
    settle();
    expectCovered();
    QTest::keyClick(buffer.get(), Qt::Key_End);
    settle();
    EXPECT_EQ(bottomOfLast(), buffer->view()->height());
    EXPECT_TRUE(buffer->isStuckToEnd());
    EXPECT_TRUE(shown().endsWith(QStringLiteral("message 99999")));
}

TEST_F(ChanBuff, WheelMovesByItsScale)
{
    fill(200);
    open();
    wheel(2);
    std::map<quint64, int> const before = topsOnScreen();
    wheel(1);
    std::map<quint64, int> const after = topsOnScreen();
    int compared = 0;
    for (auto const& [id, top] : before) {
        if (after.count(id) != 0) {
            EXPECT_EQ(after.at(id), top + 60);
            ++compared;
        }
    }
    EXPECT_GT(compared, 3);
}

TEST_F(ChanBuff, ScrollStopsAtTheBeginning)
{
    fill(40);
    open();
    for (int i = 0; i < 60; ++i) {
        wheel(3);
    }
    EXPECT_EQ(buffer->view()->itemAt(0).top, 0);
    EXPECT_TRUE(shown().startsWith(QStringLiteral("message 0|message 1|")));
    EXPECT_FALSE(buffer->isStuckToEnd());
    for (int i = 0; i < 60; ++i) {
        wheel(-3);
    }
    EXPECT_EQ(bottomOfLast(), buffer->view()->height());
    EXPECT_TRUE(buffer->isStuckToEnd());
}

TEST_F(ChanBuff, APureShiftAndARepaintReadNothing)
{
    // One group much higher than the view.
    fill(50);
    world.addMessages(
        100, [](int i) { return idAt(50 * farApart + i); }, [this](int) { return alice; },
        [](int i) { return QStringLiteral("line %1").arg(i); });
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
    FlakeId const next = idAt(100 * farApart);
    world.addMessage(next, alice, QStringLiteral("new one"));
    world.announceCreated(next, alice);
    settle();
    EXPECT_TRUE(shown().endsWith(QStringLiteral("message 99|new one")));
    EXPECT_EQ(bottomOfLast(), buffer->view()->height());

    wheel(3);
    std::map<quint64, int> const before = topsOnScreen();
    FlakeId const grouped = idAt(100 * farApart + 1000);
    world.addMessage(grouped, alice, QStringLiteral("grouped"));
    world.announceCreated(grouped, alice);
    settle();
    EXPECT_EQ(topsOnScreen(), before);
    QTest::keyClick(buffer.get(), Qt::Key_End);
    settle();
    EXPECT_TRUE(shown().endsWith(QStringLiteral("message 99|new one|grouped")));
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
    EXPECT_TRUE(shown().endsWith(QStringLiteral("burst 17|burst 18|burst 19")));
    EXPECT_EQ(shown().count(QStringLiteral("burst 0|burst 1|burst 2|")), 1);
    EXPECT_EQ(bottomOfLast(), buffer->view()->height());
}

TEST_F(ChanBuff, AMessageThatJoinsAHalfShownGroupAppearsOnce)
{
    fill(100);
    open();
    // The last group stays partly on screen.
    buffer->updateViewWithDelta(5);
    settle();
    ASSERT_FALSE(buffer->isStuckToEnd());
    FlakeId const joined = idAt(99 * farApart + 10);
    world.addMessage(joined, bob, QStringLiteral("joined"));
    std::map<quint64, int> const before = topsOnScreen();
    world.announceCreated(joined, bob);
    settle();
    EXPECT_EQ(topsOnScreen().at(idAt(99 * farApart).value()),
              before.at(idAt(99 * farApart).value()));
    EXPECT_EQ(shown().count(QStringLiteral("message 99")), 1);
}

TEST_F(ChanBuff, OlderHistoryDoesNotMoveWhatIsOnScreen)
{
    // The store has the newer half; the oldest of it joins the span of what comes before.
    world.addMessages(
        30, [](int i) { return idAt((i + 30) * 100000); },
        [this](int i) { return i < 5 ? alice : (i % 2 == 0 ? alice : bob); },
        [](int i) { return QStringLiteral("newer %1").arg(i); });
    open();
    for (int i = 0; i < 40; ++i) {
        wheel(3);
    }
    ASSERT_TRUE(shown().startsWith(QStringLiteral("newer 0")));
    std::map<quint64, int> const before = topsOnScreen();
    world.addMessages(
        30, [](int i) { return idAt(i * 100000); }, [this](int) { return alice; },
        [](int i) { return QStringLiteral("older %1").arg(i); });
    world.announceHistory();
    settle();
    // The header that stood above the oldest message makes room for what joins it.
    std::map<quint64, int> const after = topsOnScreen();
    for (auto const& [id, top] : before) {
        EXPECT_EQ(after.count(id) != 0 ? after.at(id) : -1, top) << id;
    }
    wheel(1);
    EXPECT_TRUE(shown().contains(QStringLiteral("older 29|newer 0")));
}

TEST_F(ChanBuff, AsksForOlderHistoryOnTheRisingEdgeAndAgainAfterAPage)
{
    QSignalSpy const spy(buffer.get(), &DisChanBuff::nearingEndOfAvailableMessagesWithOldestId);
    fill(30); // fewer than 51: everything is near the end
    world.addUser(FlakeId(2009), QStringLiteral("muted"));
    world.addMessage(idAt(-5), FlakeId(2009), QStringLiteral("oldest"));
    g_disManager->addMutedUser(FlakeId(2009));
    open();
    buffer->checkOldestMessage();
    ASSERT_EQ(spy.count(), 1);
    EXPECT_EQ(spy.at(0).at(0).value<FlakeId>(), idAt(-5));
    buffer->checkOldestMessage();
    EXPECT_EQ(spy.count(), 1);
    world.announceHistory();
    buffer->checkOldestMessage();
    EXPECT_EQ(spy.count(), 2);
}

TEST_F(ChanBuff, DoesNotAskWhileFarFromTheEnd)
{
    QSignalSpy const spy(buffer.get(), &DisChanBuff::nearingEndOfAvailableMessagesWithOldestId);
    fill(300);
    open();
    buffer->checkOldestMessage();
    EXPECT_EQ(spy.count(), 0);
}

TEST_F(ChanBuff, PendingMessageIsConfirmedInPlace)
{
    fill(50);
    open();
    FlakeId const nonce = idAt(50 * farApart);
    world.addPending(nonce, world.ownUser, QStringLiteral("mine"),
                     nonce.toMSecsSinceEpoch_Discord());
    DisChanges changes;
    changes.add(DisChange::ChangeType::MessageCreated, nonce, world.channel, world.ownUser);
    g_disClient->postLocalChanges(changes);
    settle();
    ASSERT_TRUE(shown().endsWith(QStringLiteral("message 49|p:mine"))) << shown().toStdString();
    DisBuffMsgContentWidget* const content = contents().last();
    EXPECT_TRUE(content->findChild<DisTextView*>()->displayAsPending());
    int const top = topOf(content);

    FlakeId const id = idAt(50 * farApart + 40);
    world.addMessage(id, world.ownUser, QStringLiteral("mine"));
    QSignalSpy const layouts(buffer->view(), &ZilView::layoutChanged);
    world.announceCreated(id, world.ownUser, nonce);
    settle();
    EXPECT_TRUE(shown().endsWith(QStringLiteral("message 49|mine")));
    EXPECT_EQ(contents().last(), content);
    EXPECT_EQ(topOf(content), top);
    EXPECT_FALSE(content->findChild<DisTextView*>()->displayAsPending());
    EXPECT_EQ(layouts.count(), 0);
}

TEST_F(ChanBuff, PendingMessagesConfirmedOutOfOrderAreShownInOrder)
{
    fill(3);
    world.addPending(idAt(3 * farApart), world.ownUser, QStringLiteral("first"),
                     idAt(3 * farApart).toMSecsSinceEpoch_Discord());
    world.addPending(idAt(3 * farApart + 1), world.ownUser, QStringLiteral("second"),
                     idAt(3 * farApart + 1).toMSecsSinceEpoch_Discord());
    world.addPending(idAt(3 * farApart + 2), world.ownUser, QStringLiteral("third"),
                     idAt(3 * farApart + 2).toMSecsSinceEpoch_Discord());
    open();
    world.addMessage(idAt(3 * farApart + 50), world.ownUser, QStringLiteral("second"));
    world.announceCreated(idAt(3 * farApart + 50), world.ownUser, idAt(3 * farApart + 1));
    settle();
    EXPECT_TRUE(shown().endsWith(QStringLiteral("message 2|second|p:first|p:third")));
}

TEST_F(ChanBuff, PendingMessagesWithinOneSpanAreReorderedToo)
{
    // All of one author and close together: the span's ends alone do not tell the order.
    world.addMessage(idAt(0), world.ownUser, QStringLiteral("sent"));
    for (quint64 i = 1; i <= 3; ++i) {
        world.addPending(idAt(0, i), world.ownUser, QStringLiteral("p%1").arg(i),
                         idAt(0).toMSecsSinceEpoch_Discord());
    }
    open();
    ASSERT_EQ(shown(), QStringLiteral("sent|p:p1|p:p2|p:p3"));
    world.addMessage(idAt(50), world.ownUser, QStringLiteral("p2"));
    world.announceCreated(idAt(50), world.ownUser, idAt(0, 2));
    settle();
    EXPECT_EQ(shown(), QStringLiteral("sent|p2|p:p1|p:p3"));
}

TEST_F(ChanBuff, AMessageThatJoinsAGroupLeavesItsWidgetsAlone)
{
    fill(20);
    open();
    QVector<DisBuffMsgContentWidget*> const before = contents();
    world.addMessage(idAt(19 * farApart + 5), bob, QStringLiteral("joined"));
    world.announceCreated(idAt(19 * farApart + 5), bob);
    settle();
    ASSERT_TRUE(shown().endsWith(QStringLiteral("message 19|joined")));
    QVector<DisBuffMsgContentWidget*> const after = contents();
    EXPECT_EQ(after.at(after.size() - 2), before.last());
}

TEST_F(ChanBuff, HistoryThatJoinsTheOnlyGroupOnScreenDoesNotMoveIt)
{
    auto const text = [](int i) { return QStringLiteral("line %1").arg(i); };
    world.addMessages(
        40, [](int i) { return idAt((i + 40) * 1000); }, [this](int) { return alice; }, text);
    open();
    wheel(3);
    ASSERT_EQ(buffer->view()->count(), 1);
    std::map<quint64, int> const before = topsOnScreen();
    world.addMessages(
        20, [](int i) { return idAt((i + 20) * 1000); }, [this](int) { return alice; }, text);
    world.announceHistory();
    settle();
    EXPECT_EQ(topsOnScreen(), before);
}

TEST_F(ChanBuff, CancelledPendingMessageGoes)
{
    fill(3);
    world.addPending(idAt(3 * farApart), world.ownUser, QStringLiteral("oops"), 0);
    open();
    ASSERT_TRUE(shown().endsWith(QStringLiteral("p:oops")));
    g_disClient->pendingMessages_hack().clear();
    world.announce(DisChange::ChangeType::MessageChanged, idAt(3 * farApart));
    settle();
    EXPECT_EQ(shown(), QStringLiteral("message 0|message 1|message 2"));
}

TEST_F(ChanBuff, EditsAndDeletionsRepaintInPlace)
{
    fill(30);
    open();
    DisBuffMsgContentWidget* const content = contents().last();
    world.exec(QStringLiteral("update message set content = 'changed', edited = 1 where id = %1")
                   .arg(content->buffItem().id.toString()));
    world.announce(DisChange::ChangeType::MessageChanged, content->buffItem().id);
    settle();
    EXPECT_TRUE(shown().endsWith(QStringLiteral("changed [edited]")));
    EXPECT_EQ(contents().last(), content);

    world.exec(QStringLiteral("update message set deleted = 1 where id = %1")
                   .arg(content->buffItem().id.toString()));
    world.announce(DisChange::ChangeType::MessageDeleted, content->buffItem().id);
    settle();
    EXPECT_TRUE(shown().endsWith(QStringLiteral("[deleted]")));

    // A longer text makes its group higher, and the end stays at the bottom.
    world.exec(
        QStringLiteral("update message set deleted = 0, content = '%1' where id = %2")
            .arg(QStringLiteral("long text ").repeated(60), content->buffItem().id.toString()));
    world.announce(DisChange::ChangeType::MessageChanged, content->buffItem().id);
    settle();
    EXPECT_GT(content->height(), 3 * content->fontMetrics().height());
    EXPECT_EQ(bottomOfLast(), buffer->view()->height());
}

TEST_F(ChanBuff, MessagesWithoutTextSayWhatTheyAre)
{
    world.addMessage(idAt(0), alice, QString());
    world.exec(QStringLiteral("insert into message_file_attachment (message_id, filename, url, "
                              "filesize) values (%1, 'plan.pdf', 'https://x/plan.pdf', 0)")
                   .arg(idAt(0).toString()));
    open();
    ASSERT_EQ(contents().size(), 1);
    auto const& layout = contents().first()->currentLayout();
    ASSERT_EQ(layout.notes.size(), 1);
    EXPECT_EQ(layout.notes.first().text, QStringLiteral("plan.pdf"));
    EXPECT_TRUE(layout.text.isEmpty());
    EXPECT_GT(contents().first()->height(), 0);
}

TEST_F(ChanBuff, SelectionIsAToggleAndEnablesCopying)
{
    fill(5);
    open();
    QSignalSpy const spy(buffer.get(), &DisChanBuff::selectionChangedByInteraction);
    EXPECT_FALSE(buffer->copyMessageTextAction()->isEnabled());
    DisBuffMsgContentWidget* content = contents().at(3);
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
    fill(6);
    open();
    g_disManager->addMutedUser(bob);
    settle();
    EXPECT_EQ(shown(), QStringLiteral("message 0|message 2|message 4"));
    g_disManager->removeMutedUser(bob);
    settle();
    EXPECT_EQ(shown(),
              QStringLiteral("message 0|message 1|message 2|message 3|message 4|message 5"));
}

TEST_F(ChanBuff, MutingWhileAwayFromTheEndKeepsThePlace)
{
    fill(100);
    open();
    wheel(40);
    std::map<quint64, int> const before = topsOnScreen();
    g_disManager->addMutedUser(bob);
    settle();
    ASSERT_FALSE(buffer->isStuckToEnd());
    // The topmost message that is still there stands where it was.
    std::map<quint64, int> const after = topsOnScreen();
    for (auto const& [id, top] : before) {
        qint64 const msecs =
            FlakeId(id).toMSecsSinceEpoch_Discord() - idAt(0).toMSecsSinceEpoch_Discord();
        if (msecs / farApart % 2 == 0) { // by alice
            EXPECT_EQ(after.count(id) != 0 ? after.at(id) : -1, top);
            break;
        }
    }
    g_disManager->removeMutedUser(bob);
}

TEST_F(ChanBuff, ABotsLogDoesNotBecomeOneWidget)
{
    world.addMessages(
        5000, [](int i) { return idAt(i * 1000); }, [this](int) { return bob; },
        [](int i) { return QStringLiteral("log line %1").arg(i); });
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
    QString const before = shown();
    world.exec(QStringLiteral("delete from message"));
    world.announceReload();
    settle();
    EXPECT_EQ(shown(), before);
    fill(12);
    world.announceHistory();
    settle();
    EXPECT_TRUE(shown().endsWith(QStringLiteral("message 10|message 11")));
    EXPECT_EQ(shown().count(QStringLiteral("message 9")), 1);
}

TEST_F(ChanBuff, ChannelChangesLeaveNothingBehind)
{
    fill(20);
    open();
    buffer->setChannelId(FlakeId(61));
    settle();
    EXPECT_EQ(buffer->view()->count(), 0);
    buffer->setChannelId(world.channel);
    settle();
    EXPECT_TRUE(shown().endsWith(QStringLiteral("message 19")));
    buffer->setChannelId(FlakeId());
    EXPECT_EQ(buffer->view()->count(), 0);
}

TEST_F(ChanBuff, AResizeStormKeepsTheEndAtTheBottom)
{
    world.addMessages(
        200, [](int i) { return idAt(i * farApart); }, [this](int) { return alice; },
        [](int i) { return QStringLiteral("words ").repeated(1 + i % 60); });
    open();
    for (int i = 0; i < 60; ++i) {
        buffer->resize(120 + (i * 97) % 900, 60 + (i * 53) % 700);
        if (i % 5 == 0) {
            settle();
        }
    }
    buffer->resize(640, 420);
    QElapsedTimer clock;
    clock.start();
    while (bottomOfLast() != buffer->view()->height() && clock.elapsed() < 2000) {
        settle();
    }
    expectCovered();
    EXPECT_EQ(bottomOfLast(), buffer->view()->height());
    for (DisBuffMsgContentWidget const* content : contents()) {
        EXPECT_LE(content->findChild<DisTextView*>()->geometry().bottom(), content->height());
    }
}

} // namespace
