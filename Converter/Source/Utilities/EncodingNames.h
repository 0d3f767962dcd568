#pragma once

#include <optional>
#include <string_view>

/// The number of an encoding that a file may declare, by its name in any letter case; nullopt for an
/// unknown name.
std::optional<unsigned int> FindEncodingNumber(std::string_view name);

/// The number for a declared name, known or not: an unknown part of ISO 8859 counts as the first part,
/// any other unknown name as Mac Roman.
unsigned int DeclaredEncodingNumber(std::string_view name);
