// A thread that does what it is told, one act after the other, so that a test can interleave the
// steps of several threads as it likes.
#ifndef ZVSUPPORT_TESTS_LANG_WORKER_H
#define ZVSUPPORT_TESTS_LANG_WORKER_H

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <type_traits>
#include <utility>

namespace zv::test {

class Worker {
public:
    Worker() : thread([this] { work(); }) {}
    ~Worker() {
        start([this] { ended = true; });
        thread.join();
    }

    // Lets the thread do it and waits until it is done; throws what it throws.
    template <typename Act>
    std::invoke_result_t<Act> run(Act act) {
        return start(std::move(act)).get();
    }
    // Lets the thread do it; the future is ready when it is done.
    template <typename Act>
    std::future<std::invoke_result_t<Act>> start(Act act) {
        auto task =
            std::make_shared<std::packaged_task<std::invoke_result_t<Act>()>>(std::move(act));
        auto done = task->get_future();
        {
            const std::lock_guard hold(lock);
            acts.push_back([task] { (*task)(); });
        }
        changed.notify_one();
        return done;
    }

private:
    void work() {
        while (!ended) {
            std::unique_lock hold(lock);
            changed.wait(hold, [this] { return !acts.empty(); });
            const std::function<void()> act = std::move(acts.front());
            acts.pop_front();
            hold.unlock();
            act();
        }
    }

    std::mutex lock;
    std::condition_variable changed;
    std::deque<std::function<void()>> acts;
    bool ended = false; // the thread's own
    std::thread thread;
};

template <typename T>
bool isReady(const std::future<T>& future) {
    return future.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

// Waits, for as long as it takes, until the condition holds.
template <typename Condition>
void waitUntil(Condition condition) {
    while (!condition())
        std::this_thread::yield();
}

} // namespace zv::test

#endif
