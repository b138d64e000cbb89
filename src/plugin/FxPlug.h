#pragma once

#include <functional>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include "plugin/KeyedCoder.h"

// What the effect needs of a host, as abstract classes that each host implements. Times are in frames of the source;
// on interlaced material the second field of a frame stands half a frame later.

struct FxTime {
  double frame = 0.0;
};

/// How a frame is wanted.
struct FxRenderInfo {
  FxTime time;
  int qualityLevel = 0;
  int fieldOrder = 0;
  double scaleX = 1.0, scaleY = 1.0;  ///< 1.0 is full size
  void* sharedContext = nullptr;      ///< the host's own, handed back as it was
  int depth = 0;                      ///< 3 is 32-bit float
};

/// What a host tells of an image: six words, of which the sixth says where row 0 lies.
struct FxImageInfo {
  int width = 0, height = 0;  ///< pixels
  int depth = 0;              ///< 3 is 32-bit float
  int pixelFormat = 0;        ///< the host's own number
  int field = 0;              ///< as FxImage::field
  int origin = 0;             ///< 0: rows run upward from the bottom; else downward from the top
};

/// One picture in the host's memory, four floats a pixel in the order a, r, g, b, nominally 0 to 1.
/// Whoever holds the object may use the memory; destroying it gives the memory back.
class FxImage {
 public:
  static constexpr int bitmapType = 1;  ///< `imageType` of a picture that lies in main memory

  virtual ~FxImage() = default;
  virtual int imageType() const = 0;
  virtual FxImageInfo imageInfo() const = 0;
  virtual void* dataPtr() const = 0;
  virtual int rowBytes() const = 0;  ///< bytes from one row to the next
  virtual int width() const = 0;     ///< pixels
  virtual int height() const = 0;    ///< pixels
  virtual int field() const = 0;     ///< 0 progressive; else the field in hand: 1 the even rows of memory, 2 the odd

  /// Whether the pixels stay as they are while the object lives, so that nobody needs a copy of them. A host can then
  /// put off making them until `dataPtr` is called, which is safe from any thread.
  virtual bool isLasting() const { return false; }
  /// Of a lasting image: the pixels aren't looked at until `dataPtr` is called again, so that the host may use their
  /// memory for others. Nobody may be reading them.
  virtual void restPixels() const {}
};

/// Flags of a parameter's declaration.
enum FxParameterFlags : unsigned {
  kFxParameterDefault = 0,
  kFxParameterHidden = 4,   ///< the control exists but isn't shown
  kFxParameterStored = 35,  ///< kept with the project, never shown, never animated
};

/// Declares parameters; each operation returns false when the host refuses. Names are texts to show, not keys.
class FxParameterCreationAPI_v4 {
 public:
  virtual ~FxParameterCreationAPI_v4() = default;
  virtual bool addToggleButtonWithName(const std::string& name, unsigned parmId, bool defaultValue,
                                       unsigned parmFlags) = 0;
  /// `selector` is what a press runs, on the host's main thread; it is valid as long as the effect lives.
  virtual bool addPushButtonWithName(const std::string& name, unsigned parmId, std::function<void()> selector,
                                     unsigned parmFlags) = 0;
  /// The value is the entry's index from 0.
  virtual bool addPopupMenuWithName(const std::string& name, unsigned parmId, int defaultValue,
                                    const std::vector<std::string>& menuEntries, unsigned parmFlags) = 0;
  virtual bool addIntSliderWithName(const std::string& name, unsigned parmId, int defaultValue, int parameterMin,
                                    int parameterMax, int sliderMin, int sliderMax, int delta, unsigned parmFlags) = 0;
  virtual bool addFloatSliderWithName(const std::string& name, unsigned parmId, double defaultValue,
                                      double parameterMin, double parameterMax, double sliderMin, double sliderMax,
                                      double delta, unsigned parmFlags) = 0;
  virtual bool startParameterSubGroup(const std::string& name, unsigned parmId, unsigned parmFlags) = 0;
  virtual bool endParameterSubGroup() = 0;
  virtual bool addCustomParameterWithName(const std::string& name, unsigned parmId,
                                          std::shared_ptr<const KeyedCodable> defaultValue, unsigned parmFlags) = 0;
};

/// Reads values; false, with the result left as it was, for an unknown parameter or one of another kind.
class FxParameterRetrievalAPI {
 public:
  virtual ~FxParameterRetrievalAPI() = default;
  virtual bool getIntValue(int* value, unsigned fromParm, double atTime) = 0;
  virtual bool getBoolValue(bool* value, unsigned fromParm, double atTime) = 0;
  virtual bool getFloatValue(double* value, unsigned fromParm, double atTime) = 0;
  virtual bool getCustomParameterValue(std::shared_ptr<const KeyedCodable>* value, unsigned fromParm) = 0;
};

class FxParameterRetrievalAPI_v2 : public FxParameterRetrievalAPI {};

/// Changes values and flags; false for an unknown parameter or one of another kind.
class FxParameterSettingAPI {
 public:
  virtual ~FxParameterSettingAPI() = default;
  virtual bool setParameterFlags(unsigned flags, unsigned toParm) = 0;
  virtual bool setIntValue(int value, unsigned toParm, double atTime) = 0;
  virtual bool setCustomParameterValue(std::shared_ptr<const KeyedCodable> value, unsigned toParm) = 0;
};

class FxParameterSettingAPI_v2 : public FxParameterSettingAPI {};

class FxCustomParameterActionAPI {
 public:
  virtual ~FxCustomParameterActionAPI() = default;
  virtual double currentTime() = 0;  ///< the time of the timeline's current frame
};

class FxTimingAPI {
 public:
  virtual ~FxTimingAPI() = default;
  virtual void startTimeForEffect(double* time) = 0;
  /// The last time of the effect: a clip of n frames that starts at 0 has the duration n - 1, an interlaced one n,
  /// since its last field stands behind n - 1.
  virtual void durationForEffect(double* time) = 0;
};

/// Hands out frames at any time of the source; may be called from any one thread at a time.
class FxTemporalImageAPI {
 public:
  virtual ~FxTemporalImageAPI() = default;
  /// The clip's frame before any effect. False, with `bitmap` empty, when there is no such frame.
  virtual bool getSourceBitmap(std::unique_ptr<FxImage>* bitmap, const FxRenderInfo& withInfo, double atTime) = 0;
  /// The frame as it comes into this effect.
  virtual bool getInputBitmap(std::unique_ptr<FxImage>* bitmap, const FxRenderInfo& withInfo, double atTime) = 0;
};

class FxProgressAPI {
 public:
  virtual ~FxProgressAPI() = default;
  virtual void updateProgress(double progress) = 0;  ///< percent
};

/// Hands out the host's services.
class FxAPIManager {
 public:
  virtual ~FxAPIManager() = default;

  /// The service of the class `Protocol`, or null where the host has none. Lent: it lives as long as the manager.
  template <class Protocol>
  Protocol* apiForProtocol() {
    return static_cast<Protocol*>(service(typeid(Protocol)));
  }

 protected:
  /// A pointer to the very class that `protocol` names, as void*, or null.
  virtual void* service(const std::type_info& protocol) = 0;
};
