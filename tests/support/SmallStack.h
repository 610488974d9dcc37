#pragma once

#include <cstddef>
#include <functional>
#include <stdexcept>

#include <pthread.h>

/// Runs a function to its end on a thread of its own with a stack of the given size.
inline void runOnSmallStack(std::size_t bytes, std::function<void()> run) {
    pthread_attr_t attributes;
    pthread_t thread = 0;
    pthread_attr_init(&attributes);
    const auto call = [](void* function) -> void* {
        (*static_cast<std::function<void()>*>(function))();
        return nullptr;
    };
    const bool started = pthread_attr_setstacksize(&attributes, bytes) == 0 &&
                         pthread_create(&thread, &attributes, call, &run) == 0;
    pthread_attr_destroy(&attributes);
    if (!started) throw std::runtime_error("no thread with a small stack");
    pthread_join(thread, nullptr);
}
