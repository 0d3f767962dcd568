#pragma once

/// What every driver has to know of a widget's flat archive.
namespace WidgetArchive {

/// The record about the widget itself; readers pass over it wherever they find it.
constexpr const char* kMetaDataName = "__METADATA__";

/// The folder of a bundle that holds its files.
constexpr const char* kContentsFolder = "Contents";

}  // namespace WidgetArchive
