// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "chat_world.h"
#include "dis_buff_group_widget.h"
#include "dis_buff_msg_content_widget.h"
#include "dis_chan_buff.h"
#include "dis_text_view.h"
#include "nak_stmt.h"
#include "zil_drag_dial.h"

#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QScreen>
#include <QSignalSpy>
#include <QWheelEvent>

#include <algorithm>
#include <map>
#include <random>

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
    void change(FlakeId message, char const* set)
    {
        world.exec(QStringLiteral("update message set %1 where id = %2")
                       .arg(QLatin1String(set), message.toString()));
        world.announce(DisChange::ChangeType::MessageChanged, message);
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

    // Neighbours closer than three minutes and by one author, and only these, share a group.
    void expectGrouped() const
    {
        auto const all = contents();
        for (int i = 1; i < all.size(); ++i) {
            DisBuffItem const& a = all.at(i - 1)->buffItem();
            DisBuffItem const& b = all.at(i)->buffItem();
            EXPECT_EQ(all.at(i)->parent() == all.at(i - 1)->parent(),
                      a.authorId == b.authorId && std::abs(b.timestamp - a.timestamp) < 180000);
        }
    }

    FlakeId const alice{ 2001 };
    FlakeId const bob{ 2002 };
    std::unique_ptr<DisChanBuff> buffer;
};

// All that has to be there: the store's messages and behind them those that wait, without those
// of muted authors.
std::string everything()
{
    QString all;
    NakStmt stmt(g_disClient->db(),
                 "select content, edited, deleted, author_id from message order by id");
    while (stmt.step()) {
        if (g_disManager->isUserMuted(stmt.colFlake(3)))
            continue;
        QString const text = stmt.colString(0) + QLatin1String(stmt.colInt(1) ? " [edited]" : "");
        all += u'|' + (stmt.colInt(2) ? QStringLiteral("[deleted]") : text);
    }
    for (DisPendingMsg const& message : g_disClient->pendingMessages_hack())
        all += QLatin1String("|p:") + message.text;
    return (all + u'|').toStdString();
}

TEST_F(ChanBuff, ShowsAPartOfTheHistoryThroughRandomLife)
{
    std::mt19937 random(7);
    auto const pick = [&random](int below) { return int(random() % unsigned(below)); };
    constexpr qint64 gaps[] = { 1, 1000, 179999, 180000, farApart };
    int texts = 0;
    qint64 newest = 0;
    qint64 oldest = 0;
    auto& pending = g_disClient->pendingMessages_hack();
    auto const anyText = [&] {
        return QStringLiteral("text %1 ").arg(++texts).repeated(1 + pick(30));
    };
    auto const anyAuthor = [&] { return pick(2) ? alice : bob; };
    auto const anyPending = [&] { return (pending.cbegin() + pick(pending.size())).key(); };
    std::function<void()> const acts[] = {
        [&] { say(idAt(newest += gaps[pick(5)]), anyAuthor(), anyText()); },
        [&] {
            world.addMessages(1 + pick(30), [&](int) {
                return ChatMessage{ idAt(oldest -= gaps[pick(5)]), anyAuthor(), anyText() };
            });
            world.announceHistory();
        },
        [&] {
            change(contents().at(pick(contents().size()))->buffItem().id,
                   pick(2) ? "content = content || 'more', edited = 1" : "deleted = 1");
        },
        [&] {
            world.addPending(idAt(newest += gaps[pick(5)]), anyText());
            world.announce(DisChange::ChangeType::MessageCreated, idAt(newest));
        },
        [&] {
            if (!pending.isEmpty())
                confirm(anyPending(), idAt(newest += 1), anyText());
        },
        [&] {
            if (!pending.isEmpty())
                pending.remove(anyPending());
            world.announceReload();
        },
        [&] {
            g_disManager->isUserMuted(bob) ? g_disManager->removeMutedUser(bob)
                                           : g_disManager->addMutedUser(bob);
        },
        [&] { buffer->resize(300 + pick(500), 100 + pick(500)); },
        [&] { wheel(pick(19) - 9); },
        [&] { wheel(pick(40)); },
        [&] { press(Qt::Key_End); },
    };
    for (int i = 0; i < 50; ++i)
        world.addMessage(idAt(newest += gaps[pick(5)]), anyAuthor(), anyText());
    open();
    for (int step = 0; step < 500; ++step) {
        int const act = pick(int(std::size(acts)));
        SCOPED_TRACE("step " + std::to_string(step) + " act " + std::to_string(act));
        bool const followsTheEnd = buffer->isStuckToEnd();
        bool const keepsPlace = act < 2 && !followsTheEnd;
        auto const pendingBefore = pending; // these give way to what comes
        Tops const before = topsOnScreen();
        acts[act]();
        settle();
        bool const isPart =
            waitUntil([&] { return everything().find('|' + shown() + '|') != std::string::npos; });
        ASSERT_TRUE(isPart) << shown() << "\n" << everything();
        expectCovered();
        expectGrouped();
        EXPECT_TRUE(!followsTheEnd || act > 7 || waitUntil([this] { return isAtTheEnd(); }));
        Tops const after = topsOnScreen();
        for (auto const& [id, top] : before)
            EXPECT_TRUE(!keepsPlace || pendingBefore.contains(FlakeId(id))
                        || (after.count(id) != 0 && after.at(id) == top))
                << id;
        ASSERT_FALSE(HasFailure());
    }
}

TEST_F(ChanBuff, AShortChannelStandsAtTheBottomAndAnEmptyOneSaysSo)
{
    open();
    EXPECT_EQ(buffer->view()->count(), 0);
    buffer->setEmptyText(QStringLiteral("No messages yet."));
    auto const* label = buffer->findChild<QLabel*>();
    EXPECT_TRUE(label->isVisible());
    say(idAt(0), alice, QStringLiteral("first"));
    EXPECT_FALSE(label->isVisible());
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
    int const before = topOf(contents().first());
    FlakeId const first = contents().first()->buffItem().id;
    wheel(1);
    EXPECT_EQ(topsOnScreen()[first.value()], before + 60);
    wheel(3, 60);
    EXPECT_EQ(buffer->view()->itemAt(0).top, 0);
    EXPECT_EQ(shown().substr(0, 20), "message 0|message 1|");
    EXPECT_FALSE(buffer->isStuckToEnd());
    wheel(-3, 60);
    EXPECT_TRUE(isAtTheEnd());
    EXPECT_TRUE(buffer->isStuckToEnd());
}

TEST_F(ChanBuff, ABurstIsOnePassAndLeavesTheWidgetsOfItsGroupAlone)
{
    fill(100);
    open();
    DisBuffMsgContentWidget* const last = contents().last();
    quint64 const before = buffer->reads().readCount();
    for (int i = 1; i <= 3; ++i) {
        FlakeId const id = idAt(99 * farApart + i);
        world.addMessage(id, bob, QStringLiteral("burst %1").arg(i));
        world.announceCreated(id, bob);
    }
    EXPECT_EQ(buffer->reads().readCount(), before);
    settle();
    EXPECT_EQ(shown(4), "message 99|burst 1|burst 2|burst 3");
    EXPECT_EQ(contents().at(contents().size() - 4), last);
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

} // namespace
