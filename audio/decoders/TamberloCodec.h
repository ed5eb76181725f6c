/* The C interface of codec plug-ins: a shared library (codec_NAME.so, .dll on Windows) exports
 * one function, tamberlo_codec_entry, that returns a table of operations. The player checks the
 * table's version and then calls the operations to decode the files the plug-in claims.
 *
 * Threading: the player calls probe and the open functions on the thread that creates a sound,
 * and all other operations of one handle on one thread at a time (possibly a different one
 * from the opener's, never two at once). Different handles may be used on different threads at
 * the same time, so a plug-in keeps its state in the handle, not in globals.
 */
#ifndef TAMBERLO_CODEC_H
#define TAMBERLO_CODEC_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Raised whenever the table or the info record changes in a way old plug-ins cannot follow. */
#define TAMBERLO_CODEC_ABI_VERSION 2u
/* The exported entry point's name. */
#define TAMBERLO_CODEC_ENTRY_NAME "tamberlo_codec_entry"
/* length_frames when the length is not known. */
#define TAMBERLO_CODEC_UNKNOWN_LENGTH (~(uint64_t)0)

/* Size of TamberloCodecInfo.format_name, including the terminating NUL. */
#define TAMBERLO_CODEC_FORMAT_NAME_SIZE 64

#if defined(_WIN32)
#define TAMBERLO_CODEC_EXPORT __declspec(dllexport)
#else
#define TAMBERLO_CODEC_EXPORT __attribute__((visibility("default")))
#endif

typedef struct TamberloCodecInfo {
    int32_t sample_rate;    /* Hz of the decoded output, 1..768000 */
    int32_t channels;       /* 1 (mono) or 2 (interleaved left, right) */
    uint64_t length_frames; /* frames of the selected subsong, or TAMBERLO_CODEC_UNKNOWN_LENGTH */
    int32_t subsong_count;  /* 1 or more */
    int64_t bit_rate;       /* average encoded bits per second, 0 when unknown */
    /* The file's format for the display, e.g. "C64 PSID", NUL-terminated; "" when the plug-in
     * has no name for it. The player shows at most the first 49 characters. */
    char format_name[TAMBERLO_CODEC_FORMAT_NAME_SIZE];
} TamberloCodecInfo;

typedef struct TamberloCodecTable {
    uint32_t abi_version; /* TAMBERLO_CODEC_ABI_VERSION */
    const char* name;     /* short display name, e.g. "tone" */

    /* Whether the plug-in decodes data that starts with `head` (`size` bytes, the first 4 KiB
     * or less of the file or block); `name` is the file name or the block's name, maybe "".
     * 0: not claimed. 1: claimed, decoded in the player. 2: claimed, but the plug-in's library
     * may crash or hang on a damaged file of this kind, so the player decodes it in a separate
     * process (tamberlo-codec-host, which loads the plug-in on its own and opens the file by
     * path); where the player cannot do that (Windows) 2 counts as 0. Plug-ins written before
     * 2 existed never return it. */
    int (*probe)(const uint8_t* head, size_t size, const char* name);
    /* Open a file by path, or a block that stays valid and unchanged until close. NULL when the
     * data cannot be decoded. Either may be NULL in the table when not supported. */
    void* (*open_path)(const char* path);
    void* (*open_memory)(const uint8_t* data, size_t size);
    /* Fill `info` for the selected subsong (subsong 0 after opening). The player zeroes `info`
     * before the call. 0 on success. */
    int (*get_info)(void* handle, TamberloCodecInfo* info);
    /* Decode up to `frames` frames of interleaved float (info.channels per frame, nominal range
     * -1..1) into `out`. Returns the frames written; 0 at the end. Sounds of unknown length may
     * never end: the player stops them. A call must return in bounded time, whatever the data. */
    size_t (*read)(void* handle, float* out, size_t frames);
    /* Position at `frame` of the selected subsong exactly (by decoding and discarding where
     * the format cannot jump). 0 on success. May be NULL: the player then cannot seek. */
    int (*seek)(void* handle, uint64_t frame);
    /* Select subsong `index` (0-based) and position at its start. 0 on success. May be NULL
     * for plug-ins whose files have one subsong. */
    int (*select_subsong)(void* handle, int32_t index);
    void (*close)(void* handle);
} TamberloCodecTable;

/* Signature of the entry point. The table must stay valid while the library is loaded. */
typedef const TamberloCodecTable* (*TamberloCodecEntry)(void);

#ifdef __cplusplus
}
#endif

#endif
