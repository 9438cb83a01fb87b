#pragma once

// The program's version and title, as the product's files and dialogs show them.
namespace version {
constexpr int kMajor = 10;
constexpr int kMinor = 0;
constexpr int kRevision = 109;
constexpr const char* kApplicationTitle = "Labfolio Multi-User Setup";
}  // namespace version
