#pragma once

/// From now on the machine has no AVX2 for this process. The library asks once, so this needs a process of
/// its own.
void hideWideVectors();
