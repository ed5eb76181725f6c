// Libraries that look like codec plug-ins but are not usable ones, for the load-failure tests:
// built once without an entry point and once with a table of a future version.
#include "TamberloCodec.h"

#ifdef WITH_FUTURE_TABLE
namespace {
const TamberloCodecTable futureTable = {TAMBERLO_CODEC_ABI_VERSION + 1,
                                        "future",
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr};
} // namespace

extern "C" TAMBERLO_CODEC_EXPORT const TamberloCodecTable* tamberlo_codec_entry() {
    return &futureTable;
}
#else
extern "C" TAMBERLO_CODEC_EXPORT int some_other_function() {
    return 1;
}
#endif
