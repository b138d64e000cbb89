#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

namespace film {

/// Takes root's rights to read and write everything from a test that lasts that long; others haven't got them.
class NobodysRights {
 public:
  NobodysRights() : wasRoot(geteuid() == 0 && seteuid(65534) == 0) {}
  ~NobodysRights() {
    if (!wasRoot) return;
    EXPECT_EQ(seteuid(0), 0);
  }
  NobodysRights(const NobodysRights&) = delete;
  NobodysRights& operator=(const NobodysRights&) = delete;

 private:
  bool wasRoot;
};

}  // namespace film
