#pragma once

/// @file
/// The Illustrator PostScript writer and its coordinate matrix.

#include "limber/graphics/AIPSMatrix.h"
#include "limber/graphics/AIPSWriter.h"
