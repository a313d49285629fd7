#include "jpeg_check.h"

#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <vector>

#include <jpeglib.h>

namespace orvotest {

namespace {

// libjpeg's default error handler exits the process; a broken picture must
// fail the check instead.
struct ErrorManager {
  jpeg_error_mgr base;
  std::jmp_buf jump;
};

void onError(j_common_ptr info) {
  std::longjmp(reinterpret_cast<ErrorManager*>(info->err)->jump, 1);
}

}  // namespace

DecodedJpeg decodeJpeg(std::string const& bytes) {
  DecodedJpeg out;
  jpeg_decompress_struct info{};
  ErrorManager errors{};
  info.err = jpeg_std_error(&errors.base);
  errors.base.error_exit = &onError;
  jpeg_create_decompress(&info);
  if (setjmp(errors.jump) != 0) {
    jpeg_destroy_decompress(&info);
    return DecodedJpeg{};
  }
  jpeg_mem_src(&info, reinterpret_cast<unsigned char const*>(bytes.data()), bytes.size());
  if (jpeg_read_header(&info, TRUE) == JPEG_HEADER_OK) {
    jpeg_start_decompress(&info);
    std::vector<unsigned char> row(static_cast<std::size_t>(info.output_width) *
                                   info.output_components);
    while (info.output_scanline < info.output_height) {
      JSAMPROW line = row.data();
      out.rows += jpeg_read_scanlines(&info, &line, 1);
    }
    out.width = info.output_width;
    out.height = info.output_height;
    out.ok = jpeg_finish_decompress(&info) == TRUE && errors.base.num_warnings == 0;
  }
  jpeg_destroy_decompress(&info);
  return out;
}

}  // namespace orvotest
