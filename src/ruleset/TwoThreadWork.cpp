#include "TwoThreadWork.h"

#include <atomic>
#include <exception>
#include <system_error>
#include <thread>

void runOnTwoThreads(std::size_t count, const std::function<void(std::size_t item, int worker)> &work)
{
    std::atomic<std::size_t> next = 0;
    const auto takeItems = [&](int worker) {
        for (std::size_t item = next++; item < count; item = next++)
            work(item, worker);
    };
    // What stops the helper (memory running out) reaches the caller, after
    // this thread has done the items left.
    std::exception_ptr helperFailure;
    std::jthread helper;
    if (count > 1) {
        try {
            helper = std::jthread([&takeItems, &helperFailure] {
                try {
                    takeItems(1);
                } catch (...) {
                    helperFailure = std::current_exception();
                }
            });
        } catch (const std::system_error &) {
            // No thread to be had: this thread takes every item.
        }
    }
    takeItems(0);
    if (helper.joinable())
        helper.join();
    if (helperFailure)
        std::rethrow_exception(helperFailure);
}
