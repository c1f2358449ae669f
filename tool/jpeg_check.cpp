#include "jpeg_check.h"

#include <array>
#include <csetjmp>
#include <cstddef>
#include <cstdio>

// Needs size_t and FILE, which it does not include.
#include <jerror.h>
#include <jpeglib.h>

namespace ptmatch::tool {
namespace {

/// The library calls back when it fails, and must not be returned to; what lies between is C.
struct Trouble {
    jpeg_error_mgr manager;
    std::jmp_buf wayOut;
    std::array<char, JMSG_LENGTH_MAX> message;
    jpeg_progress_mgr progress;
};

Trouble& troubleOf(j_common_ptr info) {
    // The manager stands first.
    return *reinterpret_cast<Trouble*>(info->err);
}

void fail(j_common_ptr info) {
    Trouble& trouble = troubleOf(info);
    trouble.manager.format_message(info, trouble.message.data());
    std::longjmp(trouble.wayOut, 1);
}

[[noreturn]] void failBecause(Trouble& trouble, std::string_view reason) {
    trouble.message[reason.copy(trouble.message.data(), trouble.message.size() - 1)] = '\0';
    std::longjmp(trouble.wayOut, 1);
}

// The library warns where data are damaged or missing, makes grey ones up, and goes on.
void failAtWarning(j_common_ptr info, int level) {
    if (level >= 0) return;  // not a warning
    Trouble& trouble = troubleOf(info);
    const int code = trouble.manager.msg_code;
    if (code == JWRN_JPEG_EOF || code == JWRN_HIT_MARKER) {
        failBecause(trouble, "it ends too early");
    }
    fail(info);
}

// Each scan of a progressive file goes over the whole picture: a small file can hold hours of them.
void failAtManyScans(j_common_ptr info) {
    constexpr int kMostScans = 200;  // programs write about ten
    if (reinterpret_cast<j_decompress_ptr>(info)->input_scan_number <= kMostScans) return;
    failBecause(troubleOf(info), "it has more than 200 scans");
}

void ignoreMessage(j_common_ptr /*info*/) {}

void prepare(jpeg_decompress_struct& info, Trouble& trouble, std::string_view bytes) {
    info.err = jpeg_std_error(&trouble.manager);
    trouble.manager.error_exit = fail;
    trouble.manager.emit_message = failAtWarning;
    trouble.manager.output_message = ignoreMessage;
    trouble.message[0] = '\0';
    jpeg_create_decompress(&info);
    trouble.progress.progress_monitor = failAtManyScans;
    info.progress = &trouble.progress;
    // A progressive picture of three colours and as many pixels as are allowed takes 600 MB.
    info.mem->max_memory_to_use = 1L << 30;
    jpeg_mem_src(&info, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    jpeg_read_header(&info, TRUE);
}

/// Every line, at an eighth of the size where the library can.
void readLines(jpeg_decompress_struct& info) {
    info.scale_num = 1;
    info.scale_denom = 8;
    info.do_fancy_upsampling = FALSE;
    jpeg_start_decompress(&info);
    const JDIMENSION samples = info.output_width * static_cast<JDIMENSION>(info.output_components);
    const auto common = reinterpret_cast<j_common_ptr>(&info);
    JSAMPARRAY line = info.mem->alloc_sarray(common, JPOOL_IMAGE, samples, 1);
    while (info.output_scanline < info.output_height) jpeg_read_scanlines(&info, line, 1);
    jpeg_finish_decompress(&info);
}

struct Reading {
    jpeg_decompress_struct info{};
    Trouble trouble{};
};

/// @return false when it failed. Nothing that has a destructor, and no variable that changes, lives
///         where the jump passes.
bool succeeds(Reading& reading, std::string_view bytes, bool readsAll) {
    if (setjmp(reading.trouble.wayOut) != 0) return false;
    prepare(reading.info, reading.trouble, bytes);
    if (readsAll) readLines(reading.info);
    return true;
}

}  // namespace

JpegSize jpegSize(std::string_view bytes) {
    Reading reading;
    const bool isRead = succeeds(reading, bytes, false);
    JpegSize size;
    if (isRead) {
        size = {reading.info.image_width, reading.info.image_height, {}};
    } else {
        size.fault = reading.trouble.message.data();
    }
    jpeg_destroy_decompress(&reading.info);
    return size;
}

std::string jpegFault(std::string_view bytes) {
    Reading reading;
    std::string fault;
    if (!succeeds(reading, bytes, true)) fault = reading.trouble.message.data();
    jpeg_destroy_decompress(&reading.info);
    return fault;
}

}  // namespace ptmatch::tool
