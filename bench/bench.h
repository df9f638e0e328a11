// Benchmarks register what they compare; the main program prints every ratio of medians.
#ifndef BENCH_H
#define BENCH_H

#include <string>

// "`what` takes so many times as long as `against`", both names of benchmarks. `wanted` is a remark, or empty.
void CompareTimes(const std::string &what, const std::string &against, const std::string &wanted = "");

#endif
