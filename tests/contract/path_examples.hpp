#pragma once

namespace quillmark::contract {

/// What the path functions answer, ours and NSString's alike.

struct AppendingExample {
  const char *base, *component, *joined;
};

inline constexpr AppendingExample appendingExamples[] = {
    {"/Users/ann", "Quillmark_Components", "/Users/ann/Quillmark_Components"},
    {"/Users/ann/", "Quillmark_Components", "/Users/ann/Quillmark_Components"},
    {"/Users/ann", "Quillmark_Components/", "/Users/ann/Quillmark_Components"},
    {"/a", "WGComponents/osM1/QuillmarkGuard", "/a/WGComponents/osM1/QuillmarkGuard"},
    {"/a", "", "/a"},
    {"/", "Applications", "/Applications"},
    {"/mon d\u00e9p\u00f4t", "\u00e9t\u00e9.app", "/mon d\u00e9p\u00f4t/\u00e9t\u00e9.app"},
};

struct DeletingExample {
  const char *path, *parent;
};

inline constexpr DeletingExample deletingExamples[] = {
    {"/Volumes/Quillmark Installer/Quillmark Installer.app", "/Volumes/Quillmark Installer"},
    {"/Volumes/Quillmark Installer/Quillmark Installer.app/", "/Volumes/Quillmark Installer"},
    {"/Volumes//Quillmark Installer.app", "/Volumes"},
    {"/Quillmark Installer.app", "/"},
    {"/", "/"},
    {"relative", ""},
};

}  // namespace quillmark::contract
