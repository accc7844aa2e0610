// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "run_on_pool.h"

#include <QCoreApplication>
#include <QObject>
#include <QSemaphore>
#include <QTest>
#include <QThread>
#include <QThreadPool>

#include <gtest/gtest.h>

#include <memory>

namespace {

void settle()
{
    QThreadPool::globalInstance()->waitForDone();
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

} // namespace

TEST(RunOnPool, ThereAndBack)
{
    QObject receiver;
    QThread* const here = QThread::currentThread();
    QThread* workedOn = nullptr;
    QThread* answeredOn = nullptr;
    int answer = 0;
    // Plain variables, written and read on two threads in turn.
    int number = 20;
    Utils::runOnPool(&receiver, [&]() -> std::function<void()> {
        workedOn = QThread::currentThread();
        number += 1;
        return [&] {
            answeredOn = QThread::currentThread();
            answer = 2 * number;
        };
    });
    EXPECT_EQ(answer, 0); // not before the event loop runs, however quick the pool is
    ASSERT_TRUE(QTest::qWaitFor([&] { return answer != 0; }));
    EXPECT_EQ(answer, 42);
    EXPECT_NE(workedOn, here);
    EXPECT_EQ(answeredOn, here);
    settle();
    EXPECT_TRUE(receiver.children().isEmpty());
}

TEST(RunOnPool, NothingToSay)
{
    QObject receiver;
    bool worked = false;
    Utils::runOnPool(&receiver, [&]() -> std::function<void()> {
        worked = true;
        return {};
    });
    settle();
    EXPECT_TRUE(worked);
    EXPECT_TRUE(receiver.children().isEmpty());
}

TEST(RunOnPool, ReceiverDiesDuringTheWork)
{
    auto receiver = std::make_unique<QObject>();
    auto held = std::make_shared<int>(1);
    std::weak_ptr<int> const watched = held;
    QSemaphore begun;
    QSemaphore mayEnd;
    bool answered = false;
    Utils::runOnPool(receiver.get(),
                     [&, held = std::move(held)]() mutable -> std::function<void()> {
                         begun.release();
                         mayEnd.acquire();
                         return [&answered, kept = std::move(held)] { answered = true; };
                     });
    begun.acquire();
    receiver.reset();
    mayEnd.release();
    settle();
    EXPECT_FALSE(answered);
    EXPECT_TRUE(watched.expired());
}

TEST(RunOnPool, ReceiverDiesWithTheAnswerUnderWay)
{
    auto receiver = std::make_unique<QObject>();
    bool answered = false;
    Utils::runOnPool(receiver.get(),
                     [&]() -> std::function<void()> { return [&] { answered = true; }; });
    QThreadPool::globalInstance()->waitForDone();
    receiver.reset();
    settle();
    EXPECT_FALSE(answered);
}

// When each dies is left to chance; the sanitizers watch.
TEST(RunOnPool, ReceiversDieAtAnyTime)
{
    int answered = 0;
    for (int i = 0; i < 500; ++i) {
        auto receiver = std::make_unique<QObject>();
        Utils::runOnPool(receiver.get(),
                         [&]() -> std::function<void()> { return [&] { ++answered; }; });
        for (int turns = i % 7; turns > 0; --turns)
            QThread::yieldCurrentThread();
        QCoreApplication::processEvents();
    }
    settle();
    EXPECT_LE(answered, 500);
}
