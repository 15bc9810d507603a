#include "host/base/thread_pool.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

namespace {

// One parallel-for in progress. Threads draw the next index under the lock; pieces are coarse, so
// the lock is taken a few hundred times a second, not per item.
struct Job {
    const std::function<void(size_t)>* body = nullptr;
    size_t count = 0;
    std::mutex mutex;
    std::condition_variable done;
    size_t next = 0;
    size_t running = 0;
    size_t failedIndex = ~size_t{0};
    std::exception_ptr failure;

    bool Take(size_t* index) {
        std::lock_guard lock(mutex);
        if (next >= count) return false;
        *index = next++;
        ++running;
        return true;
    }
    void Finish() {
        std::lock_guard lock(mutex);
        --running;
        if (running == 0 && next >= count) done.notify_all();
    }
    void Fail(size_t index) {
        std::lock_guard lock(mutex);
        next = count;
        if (index < failedIndex) failedIndex = index, failure = std::current_exception();
    }
    void Work() {
        for (size_t index; Take(&index); Finish()) {
            try {
                (*body)(index);
            } catch (...) {
                Fail(index);
            }
        }
    }
    void Wait() {
        std::unique_lock lock(mutex);
        done.wait(lock, [&] { return running == 0 && next >= count; });
    }
};

class ThreadPool {
public:
    ~ThreadPool() {
        for (std::jthread& worker : m_workers) worker.request_stop();
        m_wake.notify_all();
    }

    // Invites up to `helpers` workers to a job; they stay asleep if it is over before they come.
    void Invite(const std::shared_ptr<Job>& job, size_t helpers) {
        std::lock_guard lock(m_mutex);
        for (size_t i = 0; i < helpers; ++i) m_invitations.push_back(job);
        size_t wanted = std::min(m_invitations.size(), kMaxWorkers);
        while (m_workers.size() < wanted && StartWorker()) {
        }
        m_wake.notify_all();
    }

private:
    static constexpr size_t kMaxWorkers = 256;

    // False where the system gives no further thread: those that there are do the work, the caller
    // at the least.
    bool StartWorker() {
        try {
            m_workers.emplace_back([this](std::stop_token stop) { Loop(stop); });
            return true;
        } catch (const std::system_error&) {
            return false;
        } catch (const std::bad_alloc&) {
            return false;
        }
    }

    void Loop(std::stop_token stop) {
        while (true) {
            std::shared_ptr<Job> job;
            {
                std::unique_lock lock(m_mutex);
                m_wake.wait(lock, stop, [&] { return !m_invitations.empty(); });
                if (m_invitations.empty()) return;
                job = std::move(m_invitations.front());
                m_invitations.pop_front();
            }
            job->Work();
        }
    }

    std::mutex m_mutex;
    std::condition_variable_any m_wake;
    std::deque<std::shared_ptr<Job>> m_invitations;
    std::vector<std::jthread> m_workers;  // last: joined before the queue goes
};

ThreadPool& Pool() {
    static ThreadPool pool;
    return pool;
}

}  // namespace

int NumProcessors() { return std::max(1, int(std::thread::hardware_concurrency())); }

void ParallelFor(size_t count, int threads, const std::function<void(size_t)>& body) {
    if (threads <= 1 || count <= 1) {
        for (size_t i = 0; i < count; ++i) body(i);
        return;
    }
    auto job = std::make_shared<Job>();
    job->body = &body;
    job->count = count;
    Pool().Invite(job, std::min(count, size_t(threads)) - 1);
    job->Work();
    job->Wait();
    if (job->failure) std::rethrow_exception(job->failure);
}

void ParallelRanges(size_t count, size_t grain, int threads,
                    const std::function<void(size_t, size_t)>& body) {
    grain = std::max<size_t>(grain, 1);
    size_t pieces = (count + grain - 1) / grain;
    ParallelFor(pieces, threads, [&](size_t piece) {
        size_t first = piece * grain;
        body(first, std::min(first + grain, count));
    });
}
