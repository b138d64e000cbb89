#include "film/EffectDocument.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

#include "film/Failure.h"
#include "film/Fields.h"
#include "film/FrameIndexText.h"
#include "film/OutputFile.h"

namespace film {
namespace {

using nlohmann::json;

constexpr const char* remedy = "; analyse again with --again, or name another document with --effect";

/// The fields that tell clips apart, with what a user calls them.
struct IdentityField {
  const char* key;
  const char* words;
  json (*value)(const ClipIdentity&);
};
const IdentityField identityFields[] = {
    {"width", "frame width", [](const ClipIdentity& clip) { return json(clip.width); }},
    {"height", "frame height", [](const ClipIdentity& clip) { return json(clip.height); }},
    {"frames", "frame count", [](const ClipIdentity& clip) { return json(clip.frames); }},
    {"timeBase", "time base",
     [](const ClipIdentity& clip) {
       return json(std::to_string(clip.timeBaseNumerator) + "/" + std::to_string(clip.timeBaseDenominator));
     }},
    {"firstPacket", "first packet", [](const ClipIdentity& clip) { return json(clip.firstPacket); }},
    {"lastPacket", "last packet", [](const ClipIdentity& clip) { return json(clip.lastPacket); }},
};

void checkIsFile(const std::string& path) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error))
    throw Failure(path + ": this is a folder and no effect document; name another with --effect");
  if (std::filesystem::exists(path, error) && !std::filesystem::is_regular_file(path, error))
    throw Failure(path + ": this is a pipe or a device and no effect document; name a file with --effect");
}

/// Whether brackets stand in one another deeper than in any document: what is that deep can't be copied or printed.
bool isTooDeep(const std::string& text) {
  constexpr int deepest = 64;
  int depth = 0;
  bool quoted = false;
  for (size_t i = 0; i < text.size(); ++i) {
    if (quoted && text[i] == '\\')
      ++i;
    else if (text[i] == '"')
      quoted = !quoted;
    else if (!quoted && (text[i] == '[' || text[i] == '{') && ++depth > deepest)
      return true;
    else if (!quoted && (text[i] == ']' || text[i] == '}'))
      --depth;
  }
  return false;
}

bool hasShape(const json& read) {
  for (const char* member : {"clip", "parameters", "archives"})
    if (!read.contains(member) || !read[member].is_object()) return false;
  return true;
}

}  // namespace

EffectDocument::EffectDocument(std::string documentPath, json contents)
    : path(std::move(documentPath)), document(std::move(contents)) {}

std::optional<EffectDocument> EffectDocument::Load(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::exists(path, error)) return std::nullopt;
  checkIsFile(path);
  std::ifstream in(path, std::ios::binary);
  if (!in) throw Failure(path + ": the effect document can't be read (" + std::strerror(errno) + ")" + remedy);
  const std::string text{std::istreambuf_iterator<char>(in), {}};
  json read = isTooDeep(text) ? json(json::value_t::discarded) : json::parse(text, nullptr, false);
  if (read.is_discarded()) throw Failure(path + ": the effect document is damaged or was cut short" + remedy);
  const auto version = read.is_object() ? read.find("version") : read.end();
  if (version == read.end() || !version->is_number_integer())
    throw Failure(path + ": this is no effect document" + remedy);
  if (*version != currentVersion)
    throw Failure(path + ": the effect document is of version " + version->dump() + " and this program knows version " +
                  std::to_string(currentVersion) + remedy);
  if (!hasShape(read)) throw Failure(path + ": the effect document is damaged" + remedy);
  return EffectDocument(path, std::move(read));
}

void EffectDocument::CheckReplaceable(const std::string& path) {
  checkIsFile(path);
  std::ifstream in(path, std::ios::binary);
  char first = '{';
  in >> first;  // stays for an empty file
  const json read = json::parse(in.seekg(0), nullptr, false);
  const bool ours =
      read.is_object() && read.contains("version") && read["version"].is_number();  // whatever comes later
  const bool another = read.is_discarded() ? first != '{' : !ours;
  if (another)
    throw Failure(path + ": this is no effect document and is left as it is; name another with --effect, or delete it");
}

void EffectDocument::checkClip(const ClipContents& contents) const {
  const json& clip = document.at("clip");
  for (const IdentityField& field : identityFields) {
    const json expected = field.value(contents.identity);
    const json found = clip.contains(field.key) ? clip[field.key] : json();
    if (found == expected) continue;
    throw Failure(path + ": the effect document belongs to another clip: its " + field.words + " is " + found.dump() +
                  ", that of " + contents.path + " is " + expected.dump() + remedy);
  }
}

std::shared_ptr<const FrameIndex> EffectDocument::index() const {
  const auto text = document.find("index");
  return text != document.end() ? FrameIndexOf(*text) : nullptr;
}

std::optional<AVFieldOrder> EffectDocument::fieldOrder() const {
  const json& clip = document.at("clip");
  const auto fields = clip.find("fields");
  return fields != clip.end() && fields->is_string() ? FieldOrderOf(fields->get<std::string>()) : std::nullopt;
}

void EffectDocument::restore(ParameterStore& parameters) const {
  parameters.setNumbers(document.at("parameters"));
  parameters.setArchives(document.at("archives"));
}

void EffectDocument::Save(const std::string& path, const ClipContents& contents, const ParameterStore& parameters) {
  json clip;
  for (const IdentityField& field : identityFields) clip[field.key] = field.value(contents.identity);
  if (contents.format.fieldOrder != AV_FIELD_UNKNOWN) clip["fields"] = FieldWord(contents.format.fieldOrder);
  json saved{{"version", currentVersion},
             {"clip", std::move(clip)},
             {"parameters", parameters.numbers()},
             {"archives", parameters.archives()}};
  if (!contents.index->frames.empty()) saved["index"] = TextOf(*contents.index);
  try {
    OutputFile::write(path, saved.dump(1) + "\n");
  } catch (const Failure& failure) {
    throw Failure(std::string(failure.what()) + "; --effect FILE keeps the effect document elsewhere");
  }
}

}  // namespace film
