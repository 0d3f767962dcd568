#pragma once

#include "Foundation/OxPath.h"

/// Writes every record of an archive as a file below bundle/Contents, "/" and "\" in its name making
/// folders. Whatever was at `bundle` is deleted first, so the bundle holds the archive's files alone; a
/// link there is removed and never followed. The metadata record and nameless ones are passed over.
///   Same path: when both are equal, ignoring letter case, the bundle is made under a temporary name and
///              moved next to the archive at the end; after a failure it stays there.
///   Stays in:  a record whose name has a ".." component is not written; a line on standard error says so.
///   Damage:    a record that the archive ends inside is written as far as it goes, with a line on
///              standard error, and makes the result false; the others are extracted all the same.
///              Records that overlap too often (see OverlapLimit) end the extraction with a line.
/// False also when a folder or file cannot be written, which ends the extraction and leaves what is there;
/// when the old bundle cannot be deleted; and, before anything is touched, when the archive lies inside
/// it. Each gives its line on standard error, but for memory that runs out; nothing throws. Deliberate:
/// true, with a line on standard output, when the archive cannot be opened, and a file that cannot be
/// opened for writing is passed over in silence.
bool UnflattenFile(const OxPath& archive, const OxPath& bundle, bool verbose);
