#pragma once

#include "Foundation/OxPath.h"

/// Writes every record of an archive as a file below bundle/Contents, "/" and "\" in its name making
/// folders. Whatever was at `bundle` is deleted first, so the bundle holds the archive's files alone; a
/// link there is removed and never followed. The metadata record and nameless ones are passed over. Both go by
/// way of open folders, so nothing that changes meanwhile leads outside; see RecordExtraction.
///   Same path: when both are equal, ignoring letter case, the bundle is made in a temporary folder that only
///              this user may enter, and moved next to the archive at the end; a run that fails, or is
///              interrupted by SIGINT, SIGTERM or SIGHUP, deletes it.
///   Stays in:  a record whose name has a ".." component is not written; a line on standard error says so.
///   Damage:    looked for before anything is deleted. A damaged archive (see DamageWatch), or one without
///              names, of which no record can be extracted leaves the old bundle alone; of any other damaged
///              one, what can be read is extracted. A record that the archive ends inside is written as far
///              as it goes. Records that overlap too often (see OverlapLimit) end the extraction. Each gives
///              a line on standard error and makes the result false.
/// False also when a folder or file cannot be written, which ends the extraction and leaves what is there;
/// when the old bundle cannot be deleted, unless it is an empty folder by then, or is neither a folder, a
/// file nor a link; when no temporary folder can be made; and, before anything is touched, when the archive
/// lies inside the bundle. Each gives its line on standard error, but for memory that runs out; nothing
/// throws. Deliberate: true, with a line on standard output, when the archive cannot be opened, and a file
/// that cannot be opened for what its name is, too long or that of a folder, is passed over silently.
bool UnflattenFile(const OxPath& archive, const OxPath& bundle, bool verbose);
