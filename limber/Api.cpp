#include "limber/Api.h"

const char* limberVersion() { return LIMBER_VERSION; }
