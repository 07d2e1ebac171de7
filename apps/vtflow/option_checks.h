#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace CLI {
class Validator;
}

/// What the words of a command line must be before anything is done. Each check answers what is
/// wrong with its text, to follow the option's name; empty: nothing.
namespace veltrane::tool {

/// The check for a command line; its description is left to the option.
CLI::Validator checkedBy(std::string (*check)(const std::string&));

/// The whole text as a plain decimal number, finite.
std::optional<double> parseNumber(const std::string& text);

/// Any text but an empty one.
std::string checkNotEmpty(const std::string& text);
std::string checkNumber(const std::string& text, double least, double most);
/// Above zero, a day at most.
std::string checkSeconds(const std::string& text);
/// One that the transport may ask: HTTPS, or HTTP on loopback; without query and fragment.
std::string checkBaseURL(const std::string& text);
/// A readable PEM file with at least one certificate.
std::string checkAuthorityFile(const std::string& text);
/// KEY=COLOUR, a field of the theme and a hexadecimal colour.
std::string checkThemeEntry(const std::string& text);
/// A place where a store is or can be made, for reading and writing. A file that is there is empty
/// or some database; which one, and whether it is sound, is for the store to find.
std::string checkStoreFile(const std::string& text);
/// A file that is there and can be read.
std::string checkReadableFile(const std::string& text);
/// The same, or a folder.
std::string checkReadablePath(const std::string& text);
/// A file that can be read if it is there. Whether it may be written is for the command to find.
std::string checkPasskeyFile(const std::string& text);
/// What can stand for a camera: a picture, a folder with one, or a video. Loads what reads them.
std::string checkCamera(const std::string& text);
/// A folder with at least one "*.json" file.
std::string checkFlowsFolder(const std::string& text);
/// A folder that is there, or can be made, and that files can be made in.
std::string checkWritableFolder(const std::string& text);

/// The folder itself, or the nearest one above it that is there.
std::filesystem::path nearestExisting(const std::filesystem::path& folder);

}  // namespace veltrane::tool
