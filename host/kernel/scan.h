#pragma once
// Scans: the kernel walks entities and calls back for each. The callback's
// answer steers the walk.

enum SCAN_CNTRL {
  SCAN_CONTINUE = 0,  // go on
  SCAN_SKIP = 1,      // do not descend below this element
  SCAN_STOP = 3,      // end the whole scan
};
