// Prints the motion that a file holds: what a first program of a user of the library looks like.
#include <cstdio>
#include <iostream>

#include "analysis/HomographySet.h"
#include "numerics/Parallel.h"

int main(int count, char** arguments) {
  if (count != 2) {
    std::fputs("usage: print_motion FILE\n", stderr);
    return 2;
  }
  Vorn::HomographySet motion;
  if (!motion.Load(arguments[1])) {
    std::fprintf(stderr, "%s is no motion file\n", arguments[1]);
    return 1;
  }
  // On the pool of threads, so that the package must bring them along.
  Vorn::ApplyInParallel(static_cast<int>(motion.hset.size()), [&](int i) { motion[i] = motion[i] * 2.0; });
  motion.Normalise();
  for (const Vorn::HomographyFrame& frame : motion.hset) std::cout << frame.frame << "\n" << frame.matrix << "\n";
  return 0;
}
