// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "run_on_pool.h"

#include "invoke_on_thread.h"

#include <QObject>
#include <QRunnable>
#include <QThreadPool>

#include <memory>
#include <mutex>

namespace {

class PoolReceiver;

// What a task knows of its receiver.
struct PoolLink {
    std::mutex mutex;
    PoolReceiver* receiver = nullptr; // null once it is gone
};

// The receiver's child, which a task may post to at any time while it holds the link's mutex.
class PoolReceiver : public QObject {
public:
    PoolReceiver(std::shared_ptr<PoolLink> link, QObject* parent)
        : QObject(parent)
        , m_link(std::move(link))
    {
        m_link->receiver = this; // before the task starts
    }
    ~PoolReceiver() override
    {
        std::lock_guard<std::mutex> const lock(m_link->mutex);
        m_link->receiver = nullptr;
    }

private:
    std::shared_ptr<PoolLink> const m_link;
};

class PoolTask : public QRunnable {
public:
    PoolTask(std::function<std::function<void()>()> work, std::shared_ptr<PoolLink> link)
        : m_work(std::move(work))
        , m_link(std::move(link))
    {
    }

    void run() override
    {
        Utils::noteReceived(this);
        std::function<void()> then = m_work();
        std::lock_guard<std::mutex> const lock(m_link->mutex);
        if (!m_link->receiver)
            return;
        Utils::invokeOnThread(m_link->receiver,
                              [receiver = m_link->receiver, then = std::move(then)] {
                                  receiver->deleteLater();
                                  if (then)
                                      then();
                              });
    }

private:
    std::function<std::function<void()>()> const m_work;
    std::shared_ptr<PoolLink> const m_link;
};

} // namespace

void Utils::runOnPool(QObject* receiver, std::function<std::function<void()>()> work)
{
    auto link = std::make_shared<PoolLink>();
    new PoolReceiver(link, receiver);
    auto* const task = new PoolTask(std::move(work), std::move(link));
    Utils::noteHandedOver(task);
    QThreadPool::globalInstance()->start(task);
}
