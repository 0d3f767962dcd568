#pragma once

#include <optional>

#include "Archive/OxDataFile.h"
#include "BundlePlan.h"
#include "Foundation/OxPath.h"
#include "Foundation/OxString.h"
#include "Foundation/SmartPtr.h"
#include "Xml/OxXMLDoc.h"

// Turns a widget bundle into one flat archive: a record for the description file, holding its decoded
// text as UTF-8, then one for every other file below "Contents", holding its bytes. Each failure gives
// its line on standard error where it arises.

/// What flattening `bundle` into `archive` stores, and whether it would write over anything that the bundle
/// reaches; see PlanBundle(). Prints nothing and opens no file.
BundlePlan PlanContents(const OxPath& bundle, const OxPath& archive);

/// Checks that `bundle` is a folder whose name ends in ".widget", then does ConvertWidgetBundle().
bool FlattenBundle(const OxPath& bundle, const OxPath& archive, bool protect, bool verbose,
                   std::optional<BundlePlan> plan = std::nullopt);

/// Writes the archive; with `protect` its payloads are scrambled. When both paths are equal, ignoring
/// letter case, it is made under a temporary name and moved into the bundle folder at the end. A link at
/// `archive` stays, and what it leads to is written; a file that has other hard links is replaced, and keeps
/// its content under those. With `verbose` the description is named on standard output. `plan` is what
/// PlanContents() returned for both paths, if it was called before.
/// False, and `archive` is untouched, when it exists and the bundle reaches it, or the bundle reaches too
/// much through links. False, and nothing half-made stays, when a file directly in "Contents" cannot be
/// read or any other breaks off, when the archive cannot be written or the run is interrupted. What was at
/// `archive` is lost only once the archive could be opened; of a file that has other hard links that is the
/// name alone, and where it cannot be removed nothing is written. Nothing throws.
bool ConvertWidgetBundle(const OxPath& bundle, const OxPath& archive, bool protect, bool verbose,
                         std::optional<BundlePlan> plan = std::nullopt);

/// Finds the one description file; of several `descriptionFile` receives the first, and the result is
/// false. Deliberate: a folder that cannot be listed is success too, with `descriptionFile` as it was.
bool LocateWobFileInBundle(const OxPath& bundle, OxPath& descriptionFile);

/// Reads, decodes and leniently parses a description file. Null when that fails or when the root element
/// is not a "widget" in any case. `text` receives the decoded text. Anything but a regular file is refused
/// without being opened.
Hux::SmartPtr<OxXMLDoc> ReadWobFile(const OxString& path, OxString& text);

/// Adds a record for each file below root / relative (see PlanBundle()), named by its path below `root`.
/// False when a file there cannot be read or the plan has failed, which gives its line. Deliberate: one that cannot be
/// read in a subfolder ends that subfolder alone, and the result is true; `protect` has no effect here.
/// Throws what OxDataFile::AddRecord() and PlanBundle() throw.
bool WriteFiles(const OxPath& root, const OxPath& relative, OxDataFile& file, bool protect);

/// Stores the widget's version, author, copyright, company and image, taken from the root element, in
/// the record "__METADATA__": an unsigned 32-bit 0, little-endian, and five zero-terminated texts, empty
/// for attributes that are missing. Nothing without a root; `doc` is not null. An empty version gives a line
/// on standard output. Throws what OxDataFile::AddRecord() throws. FlattenBundle() does not call it.
void WriteMetaData(Hux::SmartPtr<OxXMLDoc> doc, OxDataFile& file);
