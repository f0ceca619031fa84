#pragma once

#include <cstdint>

/// Measures a cloud of `pointCount` points on a worker thread, on all processors: makes them,
/// computes statistics of their deviations from the nominal surface, and prints the result. A
/// progress bar with status texts follows it in the terminal, and Ctrl+C breaks it off.
///
/// The answer is what the program returns: 0, 1 for a failure, 130 when it was broken off.
int RunComputation(std::uint64_t pointCount);
