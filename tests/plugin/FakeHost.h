#pragma once

#include <cmath>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "plugin/FxPlug.h"
#include "plugin/Platform.h"

/// A keyed archive in memory that remembers the order and the kind of its values.
class MemoryCoder : public KeyedCoder {
 public:
  struct Entry {
    std::string key, kind;
    double value;
  };

  void encodeInteger(long value, const std::string& key) override { put(key, "integer", static_cast<double>(value)); }
  void encodeInt(int value, const std::string& key) override { put(key, "int", value); }
  void encodeFloat(float value, const std::string& key) override { put(key, "float", static_cast<double>(value)); }
  void encodeDouble(double value, const std::string& key) override { put(key, "double", value); }
  void encodeBool(bool value, const std::string& key) override { put(key, "bool", value); }

  long decodeIntegerForKey(const std::string& key) const override { return static_cast<long>(get(key)); }
  int decodeIntForKey(const std::string& key) const override { return static_cast<int>(get(key)); }
  float decodeFloatForKey(const std::string& key) const override { return static_cast<float>(get(key)); }
  double decodeDoubleForKey(const std::string& key) const override { return get(key); }
  bool decodeBoolForKey(const std::string& key) const override { return get(key) != 0.0; }
  long numberOfValues() const override { return static_cast<long>(entries.size()); }

  bool has(const std::string& key) const { return position.count(key) != 0; }
  std::vector<std::string> keys() const {
    std::vector<std::string> names;
    for (const Entry& entry : entries) names.push_back(entry.key);
    return names;
  }
  const Entry& at(const std::string& key) const { return entries[position.at(key)]; }

  std::vector<Entry> entries;

 private:
  void put(const std::string& key, const char* kind, double value) {
    const auto [place, isNew] = position.emplace(key, entries.size());
    if (isNew)
      entries.push_back({key, kind, value});
    else
      entries[place->second] = {key, kind, value};
  }
  double get(const std::string& key) const {
    const auto place = position.find(key);
    return place == position.end() ? 0.0 : entries[place->second].value;
  }

  std::map<std::string, size_t> position;
};

/// A picture of four floats a pixel that owns its memory.
class MemoryImage : public FxImage {
 public:
  MemoryImage(int width, int height) : pixels(static_cast<size_t>(width) * height * 4), columns(width), rows(height) {}

  int imageType() const override { return type; }
  FxImageInfo imageInfo() const override { return {columns, rows, 3, 0, fieldInHand, origin}; }
  void* dataPtr() const override { return const_cast<float*>(pixels.data()); }
  int rowBytes() const override { return columns * 16; }
  int width() const override { return columns; }
  int height() const override { return rows; }
  int field() const override { return fieldInHand; }

  float* pixel(int x, int y) { return &pixels[(static_cast<size_t>(y) * columns + x) * 4]; }

  std::vector<float> pixels;
  int type = FxImage::bitmapType, fieldInHand = 0, origin = 1;

 private:
  int columns, rows;
};

struct DeclaredParameter {
  unsigned id;
  std::string kind, name;
  double defaultValue, min, max, sliderMin, sliderMax, delta;
  std::vector<std::string> entries;
  unsigned flags;
  std::function<void()> press;
  std::shared_ptr<const KeyedCodable> object;
};

/// A host of one effect on a clip that a function draws: it keeps parameters as a project would.
class FakeHost : public FxAPIManager,
                 public FxParameterCreationAPI_v4,
                 public FxParameterRetrievalAPI_v2,
                 public FxParameterSettingAPI_v2,
                 public FxCustomParameterActionAPI,
                 public FxTimingAPI,
                 public FxTemporalImageAPI,
                 public FxProgressAPI {
 public:
  // Declaring.
  bool addToggleButtonWithName(const std::string& name, unsigned id, bool value, unsigned flagWord) override {
    return add({id, "toggle", name, static_cast<double>(value), 0, 0, 0, 0, 0, {}, flagWord, {}, {}});
  }
  bool addPushButtonWithName(const std::string& name, unsigned id, std::function<void()> selector,
                             unsigned flagWord) override {
    return add({id, "button", name, 0, 0, 0, 0, 0, 0, {}, flagWord, std::move(selector), {}});
  }
  bool addPopupMenuWithName(const std::string& name, unsigned id, int value, const std::vector<std::string>& entries,
                            unsigned flagWord) override {
    return add({id, "menu", name, static_cast<double>(value), 0, 0, 0, 0, 0, entries, flagWord, {}, {}});
  }
  bool addIntSliderWithName(const std::string& name, unsigned id, int value, int min, int max, int sliderMin,
                            int sliderMax, int delta, unsigned flagWord) override {
    return add({id,
                "int",
                name,
                static_cast<double>(value),
                static_cast<double>(min),
                static_cast<double>(max),
                static_cast<double>(sliderMin),
                static_cast<double>(sliderMax),
                static_cast<double>(delta),
                {},
                flagWord,
                {},
                {}});
  }
  bool addFloatSliderWithName(const std::string& name, unsigned id, double value, double min, double max,
                              double sliderMin, double sliderMax, double delta, unsigned flagWord) override {
    return add({id, "float", name, value, min, max, sliderMin, sliderMax, delta, {}, flagWord, {}, {}});
  }
  bool startParameterSubGroup(const std::string& name, unsigned id, unsigned flagWord) override {
    return add({id, "group", name, 0, 0, 0, 0, 0, 0, {}, flagWord, {}, {}});
  }
  bool endParameterSubGroup() override { return add({0, "end", "", 0, 0, 0, 0, 0, 0, {}, 0, {}, {}}); }
  bool addCustomParameterWithName(const std::string& name, unsigned id, std::shared_ptr<const KeyedCodable> value,
                                  unsigned flagWord) override {
    return add({id, "custom", name, 0, 0, 0, 0, 0, 0, {}, flagWord, {}, std::move(value)});
  }

  // Values.
  bool getIntValue(int* value, unsigned id, double) override {
    if (!values.count(id)) return false;
    *value = static_cast<int>(values[id]);
    return true;
  }
  bool getBoolValue(bool* value, unsigned id, double) override {
    if (!values.count(id)) return false;
    *value = values[id] != 0.0;
    return true;
  }
  bool getFloatValue(double* value, unsigned id, double) override {
    if (!values.count(id)) return false;
    *value = values[id];
    return true;
  }
  bool getCustomParameterValue(std::shared_ptr<const KeyedCodable>* value, unsigned id) override {
    if (!objects.count(id)) return false;
    *value = objects[id];
    return true;
  }
  bool setParameterFlags(unsigned flagWord, unsigned id) override {
    flags[id] = flagWord;
    return true;
  }
  bool setIntValue(int value, unsigned id, double) override {
    values[id] = value;
    return true;
  }
  bool setCustomParameterValue(std::shared_ptr<const KeyedCodable> value, unsigned id) override {
    objects[id] = std::move(value);
    return true;
  }
  double currentTime() override { return 0.0; }

  // The clip.
  void startTimeForEffect(double* time) override { *time = start; }
  void durationForEffect(double* time) override { *time = duration; }
  bool getSourceBitmap(std::unique_ptr<FxImage>* bitmap, const FxRenderInfo& info, double time) override {
    requests.emplace_back(time, info);
    if (whenRequested) whenRequested(time);
    *bitmap = draw ? draw(time) : nullptr;
    return *bitmap != nullptr;
  }
  bool getInputBitmap(std::unique_ptr<FxImage>* bitmap, const FxRenderInfo& info, double time) override {
    return getSourceBitmap(bitmap, info, time);
  }
  void updateProgress(double percent) override { progress.push_back(percent); }

  const DeclaredParameter* declared(unsigned id) const {
    for (const DeclaredParameter& parameter : parameters)
      if (parameter.id == id) return &parameter;
    return nullptr;
  }
  bool hidden(unsigned id) const { return flags.at(id) == kFxParameterHidden; }

  std::vector<DeclaredParameter> parameters;
  std::map<unsigned, double> values;
  std::map<unsigned, std::shared_ptr<const KeyedCodable>> objects;
  std::map<unsigned, unsigned> flags;
  double start = 0.0, duration = 0.0;
  std::function<std::unique_ptr<FxImage>(double time)> draw;
  std::function<void(double time)> whenRequested;
  std::vector<std::pair<double, FxRenderInfo>> requests;
  std::vector<double> progress;
  bool hasCreation = true, hasRetrieval = true, hasTiming = true, hasImages = true;
  bool hasFirstVersions = true, hasSecondVersions = true;  // of the parameter services

 protected:
  void* service(const std::type_info& protocol) override {
    if (protocol == typeid(FxParameterCreationAPI_v4))
      return hasCreation ? static_cast<FxParameterCreationAPI_v4*>(this) : nullptr;
    if (protocol == typeid(FxParameterRetrievalAPI))
      return hasRetrieval && hasFirstVersions ? static_cast<FxParameterRetrievalAPI*>(this) : nullptr;
    if (protocol == typeid(FxParameterRetrievalAPI_v2))
      return hasSecondVersions ? static_cast<FxParameterRetrievalAPI_v2*>(this) : nullptr;
    if (protocol == typeid(FxParameterSettingAPI))
      return hasFirstVersions ? static_cast<FxParameterSettingAPI*>(this) : nullptr;
    if (protocol == typeid(FxParameterSettingAPI_v2))
      return hasSecondVersions ? static_cast<FxParameterSettingAPI_v2*>(this) : nullptr;
    if (protocol == typeid(FxCustomParameterActionAPI)) return static_cast<FxCustomParameterActionAPI*>(this);
    if (protocol == typeid(FxTimingAPI)) return hasTiming ? static_cast<FxTimingAPI*>(this) : nullptr;
    if (protocol == typeid(FxTemporalImageAPI)) return hasImages ? static_cast<FxTemporalImageAPI*>(this) : nullptr;
    if (protocol == typeid(FxProgressAPI)) return static_cast<FxProgressAPI*>(this);
    return nullptr;
  }

 private:
  bool add(DeclaredParameter parameter) {
    flags[parameter.id] = parameter.flags;
    if (parameter.object)
      objects[parameter.id] = parameter.object;
    else
      values[parameter.id] = parameter.defaultValue;
    parameters.push_back(std::move(parameter));
    return true;
  }
};

/// What a progress view was told, kept after the view has gone.
struct ProgressRecord {
  std::vector<std::string> messages, informations;
  std::vector<double> percents;
  int broughtToFront = 0, orderedOut = 0, closed = 0, freed = 0;
  std::function<void()> cancel;
};

/// A desktop whose main queue a test turns by hand.
class FakePlatform : public Platform {
 public:
  ~FakePlatform() override {
    for (std::thread& worker : workers) worker.join();
  }

  std::string localisedString(const std::string& key) override { return key; }
  void beginAlertSheet(const AlertSheet& sheet) override { alerts.push_back(sheet); }
  std::optional<std::string> runModalOpenPanel(const OpenPanel& panel) override {
    panels.push_back(panel);
    return chosenItem;
  }
  std::unique_ptr<ProgressView> makeProgressView(const std::string& name, std::function<void()> cancel) override {
    descriptions.push_back(name);
    record = std::make_shared<ProgressRecord>();
    record->cancel = std::move(cancel);
    return std::make_unique<View>(record);
  }
  void dispatchAsyncMain(std::function<void()> block) override {
    const std::lock_guard<std::mutex> guard(lock);
    blocks.push_back(std::move(block));
    turned.notify_all();
  }
  /// Keeps what it runs, as a desktop may that frees a finished block late.
  void dispatchAsyncGlobal(std::function<void()> block) override {
    globalBlocks.push_back(block);
    workers.emplace_back(std::move(block));
  }
  void runMainLoopFor(double seconds) override { slices.push_back(seconds); }

  /// Runs all that is on the main queue by now.
  bool drain() {
    bool isEnd = false;
    dispatchAsyncMain([&isEnd] { isEnd = true; });
    return runUntil([&isEnd] { return isEnd; });
  }

  /// Runs what is on the main queue until `done` holds; gives up after ten seconds.
  bool runUntil(const std::function<bool()>& done) {
    while (!done()) {
      std::function<void()> block;
      {
        std::unique_lock<std::mutex> guard(lock);
        if (!turned.wait_for(guard, std::chrono::seconds(10), [this] { return !blocks.empty(); })) return false;
        block = std::move(blocks.front());
        blocks.erase(blocks.begin());
      }
      block();
    }
    return true;
  }

  std::vector<AlertSheet> alerts;
  std::vector<OpenPanel> panels;
  std::optional<std::string> chosenItem;
  std::vector<std::string> descriptions;
  std::shared_ptr<ProgressRecord> record;  // of the newest window
  std::vector<double> slices;

 private:
  class View : public ProgressView {
   public:
    explicit View(std::shared_ptr<ProgressRecord> kept) : record(std::move(kept)) {}
    ~View() override { ++record->freed; }
    void showMessage(const std::string& text) override { record->messages.push_back(text); }
    void showInformation(const std::string& text) override { record->informations.push_back(text); }
    void showProgress(double percent) override { record->percents.push_back(percent); }
    void bringToFront() override { ++record->broughtToFront; }
    void orderOut() override { ++record->orderedOut; }
    void close() override { ++record->closed; }

   private:
    std::shared_ptr<ProgressRecord> record;
  };

  std::mutex lock;
  std::condition_variable turned;
  std::vector<std::function<void()>> blocks;
  std::vector<std::function<void()>> globalBlocks;
  std::vector<std::thread> workers;
};
