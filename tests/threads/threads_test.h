// What the tests of threads share.
#ifndef TESTS_THREADS_TEST_H
#define TESTS_THREADS_TEST_H

#include <functional>
#include <vector>

// Makes this process one that has not attached.
void Detach();

// True when every module's pointer is set.
bool IsAttached();

// Runs all at once, as nearly as threads can, and waits for them.
void Race(const std::vector<std::function<void()>> &bodies);

#endif
