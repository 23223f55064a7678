// Emits every inline member of the public surface once, so that each documented signature is found in the
// shared library by callers that do not inline (other languages, dlsym, debuggers).
#define LIMBER_EMIT_INLINES
#include "limber/limber.h"
