#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <type_traits>
#include <utility>

namespace engine {

// Runs a blocking server call on a worker thread and calls whileWaiting about every 50 ms until
// it ends, so that the window keeps painting and Cancel still asks meanwhile. Without a
// callback the work runs on the calling thread. The work's error is raised again here.
template <class Work>
std::invoke_result_t<Work> RunWhileWaiting(Work&& work, const std::function<void()>& whileWaiting)
{
    if (!whileWaiting)
        return work();
    auto done = std::async(std::launch::async, std::forward<Work>(work));
    while (done.wait_for(std::chrono::milliseconds(50)) != std::future_status::ready)
        whileWaiting();
    return done.get();
}

} // namespace engine
