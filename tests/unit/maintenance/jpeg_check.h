// Decodes a JPEG whole with libjpeg, for tests that must tell a complete
// picture from a cut one.
#pragma once

#include <string>

namespace orvotest {

struct DecodedJpeg {
  bool ok = false;  // decoded to the last row without a warning
  unsigned width = 0;
  unsigned height = 0;
  unsigned rows = 0;
};

DecodedJpeg decodeJpeg(std::string const& bytes);

}  // namespace orvotest
