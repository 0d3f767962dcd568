#pragma once

#include "Foundation/OxPath.h"

/// Prints the names of an archive's records, one a line, as they are stored and in the archive's order;
/// when `verbose`, with lengths in bytes, a header and totals. The metadata record is not counted.
/// Deliberate: a file that is no archive gives a line on standard output too, without a line end, and the
/// result is always true. The totals are 32-bit and wrap around. A line on standard error says so when the
/// archive is damaged (see DamageWatch), or when the listing ends early, for names that overlap too often (see
/// OverlapLimit) or for memory. An archive without a name table is listed with empty names and without a line.
bool ListFileContents(const OxPath& archive, bool verbose);
