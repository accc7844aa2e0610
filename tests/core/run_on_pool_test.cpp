// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "run_on_pool.h"

#include <QCoreApplication>
#include <QObject>
#include <QSemaphore>
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
    int number = 20; // written and read on two threads in turn
    Utils::runOnPool(&receiver, [&]() -> std::function<void()> {
        workedOn = QThread::currentThread();
        number += 1;
        return [&] {
            answeredOn = QThread::currentThread();
            number *= 2;
        };
    });
    Utils::runOnPool(&receiver, [] { return std::function<void()>(); }); // nothing to say
    EXPECT_EQ(answeredOn, nullptr) << "before the event loop runs, however quick the pool is";
    settle();
    EXPECT_EQ(number, 42);
    EXPECT_NE(workedOn, here);
    EXPECT_EQ(answeredOn, here);
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

// At any time after the work: by chance, and in every hundredth turn with the answer under way.
TEST(RunOnPool, ReceiversDieAtAnyTime)
{
    for (int i = 0; i < 500; ++i) {
        auto receiver = std::make_unique<QObject>();
        QObject const* const alive = receiver.get();
        Utils::runOnPool(receiver.get(), [&receiver, alive]() -> std::function<void()> {
            return [&receiver, alive] { EXPECT_EQ(receiver.get(), alive); };
        });
        for (int turns = i % 7; turns > 0; --turns)
            QThread::yieldCurrentThread();
        if (i % 100 == 0)
            QThreadPool::globalInstance()->waitForDone();
        else
            QCoreApplication::processEvents();
        receiver.reset();
        settle();
    }
}
