#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "film/ClipContents.h"
#include "film/ParameterStore.h"

namespace film {

/// What is kept of an effect between two runs: the clip that it is applied to, the parameters' values and the stored
/// objects. A JSON file with the members "version", "clip", "parameters" and "archives", and with "index", which only
/// saves time.
class EffectDocument {
 public:
  static constexpr int currentVersion = 1;

  /// The document that belongs to a clip unless another is named.
  static std::string PathFor(const std::string& clipPath) { return clipPath + ".orvane.json"; }

  /// Nothing if there is no such file. Fails on one that can't be read, isn't such a document or is of another version.
  static std::optional<EffectDocument> Load(const std::string& path);

  /// Fails if the file at this path is of another kind, so that a wrong name costs nobody a file. A document that is
  /// cut short, of another version or of another clip may be replaced.
  static void CheckReplaceable(const std::string& path);

  /// Fails unless the document belongs to the clip; the text names the first field that differs.
  void checkClip(const ClipContents& contents) const;

  /// What the document says of its clip, as it stands there.
  const nlohmann::json& clip() const { return document.at("clip"); }

  /// What an earlier scan of the clip found, or null where the document doesn't hold it or holds nonsense.
  std::shared_ptr<const FrameIndex> index() const;

  /// Which field of the clip's frames was taken to come first, or AV_FIELD_PROGRESSIVE; nothing if it doesn't say.
  std::optional<AVFieldOrder> fieldOrder() const;

  /// Hands the stored values to declared parameters.
  void restore(ParameterStore& parameters) const;

  /// Writes a document as a whole or not at all.
  static void Save(const std::string& path, const ClipContents& contents, const ParameterStore& parameters);

 private:
  EffectDocument(std::string documentPath, nlohmann::json contents);

  std::string path;
  nlohmann::json document;
};

}  // namespace film
