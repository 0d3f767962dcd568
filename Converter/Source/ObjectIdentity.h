#pragma once

#include "Foundation/OxPath.h"

// What two paths mean on the disk, whatever their spelling: links are followed, and objects are told
// apart by device and inode. A path that leads nowhere is neither the same as nor inside anything.

bool IsSameObject(const OxPath& a, const OxPath& b);

/// Whether `object` lies in `folder`, at any depth. A folder does not lie inside itself.
bool LiesInside(const OxPath& object, const OxPath& folder);
