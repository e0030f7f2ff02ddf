// Baseline for the service's idle cost: a C++ program that only sleeps a second at a time, for
// ever, linked against the same C++ runtime as the service.

#include <chrono>
#include <iostream>
#include <thread>

int main() {
  std::ios_base::sync_with_stdio(false);  // a use of the C++ library, so that it is loaded
  for (;;) std::this_thread::sleep_for(std::chrono::seconds(1));
}
