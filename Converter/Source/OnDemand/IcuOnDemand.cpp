#include "OnDemand/OnDemand.h"

// Hidden, so that the library itself, once loaded, calls its own functions and never a stub.
#pragma GCC visibility push(hidden)
#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>
#include <unicode/udata.h>
#include <unicode/uvernum.h>
#pragma GCC visibility pop

namespace {

// The library's own name; the names of its functions end in the same number.
constinit Posix::LazyLibrary g_library("libicuuc.so." U_ICU_VERSION_SHORT);

}  // namespace

// In the order of the alphabet: every function that the program calls, and no other.
OX_ON_DEMAND(g_library, UChar32, u_foldCase, (UChar32 character, uint32_t options), (character, options))
OX_ON_DEMAND(g_library, void, ucnv_close, (UConverter * converter), (converter))
OX_ON_DEMAND(g_library, void, ucnv_convertEx,
             (UConverter * to, UConverter* from, char** target, const char* targetEnd,
              const char** source, const char* sourceEnd, UChar* pivotStart, UChar** pivotSource,
              UChar** pivotTarget, const UChar* pivotEnd, UBool reset, UBool flush, UErrorCode* error),
             (to, from, target, targetEnd, source, sourceEnd, pivotStart, pivotSource, pivotTarget,
              pivotEnd, reset, flush, error))
OX_ON_DEMAND(g_library, int8_t, ucnv_getMinCharSize, (const UConverter* converter), (converter))
OX_ON_DEMAND(g_library, const char*, ucnv_getStandardName,
             (const char* name, const char* standard, UErrorCode* error), (name, standard, error))
OX_ON_DEMAND(g_library, UConverterType, ucnv_getType, (const UConverter* converter), (converter))
OX_ON_DEMAND(g_library, UConverter*, ucnv_open, (const char* name, UErrorCode* error), (name, error))
OX_ON_DEMAND(g_library, void, ucnv_setToUCallBack,
             (UConverter * converter, UConverterToUCallback action, const void* context,
              UConverterToUCallback* oldAction, const void** oldContext, UErrorCode* error),
             (converter, action, context, oldAction, oldContext, error))
OX_ON_DEMAND(g_library, int32_t, ucnv_toUChars,
             (UConverter * converter, UChar* target, int32_t room, const char* source, int32_t length,
              UErrorCode* error),
             (converter, target, room, source, length, error))
OX_ON_DEMAND(g_library, void, udata_setFileAccess, (UDataFileAccess access, UErrorCode* error),
             (access, error))
OX_ON_DEMAND(g_library, void, UCNV_TO_U_CALLBACK_STOP,
             (const void* context, UConverterToUnicodeArgs* arguments, const char* units, int32_t length,
              UConverterCallbackReason reason, UErrorCode* error),
             (context, arguments, units, length, reason, error))
