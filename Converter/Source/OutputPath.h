#pragma once

#include <optional>

#include "Foundation/OxPath.h"

/// Prints the line for an output whose writing would destroy what it is made of.
void ReportOutputIsInput();

/// Where the result of flattening or unflattening `input` goes: `output` with "~" expanded, or, when
/// that is an existing folder, the input's last name inside it. Nothing, after one line on standard
/// error, when no output was given, when neither it nor its parent exists, or when writing there would
/// destroy the input: the same text (ignoring case), the same object by another name, or an existing
/// object inside the input folder. Throws std::system_error when an object cannot be asked for.
std::optional<OxPath> ResolveOutputPath(const OxPath& input, const OxPath& output);
