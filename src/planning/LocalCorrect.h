#pragma once

#include <cstddef>
#include <vector>

#include "analysis/HomographySet.h"
#include "planning/MotionCorrect.h"
#include "planning/MotionInterval.h"

/// Keeps the event lists of a clip and the fit of each event, one pair of lists per axis, and is the one place that
/// reads and writes them. `filtersX` runs parallel to `eventsX`, and `filtersY` to `eventsY`. The numbers are worked
/// out by the `MotionCorrect` that it refers to.
///
/// An axis below 1 is horizontal, any other vertical. The editing operations keep the neighbouring sections
/// continuous. They return whether they changed anything; an index or a frame outside the lists changes nothing.
/// A copy shares the `MotionCorrect`.
class LocalCorrect {
 public:
  explicit LocalCorrect(MotionCorrect* motionCorrect) : correcter(motionCorrect) {}
  LocalCorrect(const LocalCorrect&) = default;
  LocalCorrect& operator=(const LocalCorrect&) = default;

  /// Empties the four lists.
  void Clear();
  /// The fit of a section; the index is unchecked.
  MotionFixParams& Filter(int axis, int index);

  /// Reads a MFP3 file, or one of the two versions before it. False if there is no such file, or where it ends or
  /// breaks off early; the lists then hold what was read. A file that isn't of the format leaves the lists alone, and
  /// is told on the error stream.
  bool Load(const char* path);
  /// Writes a MFP3 file. False if it can't be opened or written.
  bool Save(const char* path) const;
  void SetFromData(const std::vector<MotionInterval>& horizontal, const std::vector<MotionInterval>& vertical,
                   const std::vector<MotionFixParams>& fitsX, const std::vector<MotionFixParams>& fitsY);
  /// Whether both axes begin and end together, the horizontal one without a gap. A gap on the vertical axis shows only
  /// in its end.
  bool IsValid() const;

  /// One uncompensated event over the span, on both axes.
  void InitialiseSingle(int first, int last);
  /// Takes the events, and compensates none.
  void InitialiseNoComp(const std::vector<MotionInterval>& horizontal, const std::vector<MotionInterval>& vertical);
  /// Takes the events, and sets the positions that the fit of a line starts from.
  void InitialiseSections(const std::vector<MotionInterval>& horizontal, const std::vector<MotionInterval>& vertical);
  /// Leaves one axis uncompensated: as one event, or as the alternation of its good and broken stretches.
  void ClearAxis(int axis, bool wholeClip);

  /// Fits all sections, as `MotionCorrect::Fit` does.
  void FitCorrection();
  /// The corrected motion. With an empty event list nothing happens, and `out` stays as it is.
  void Correct(const Vorn::HomographySet& in, Vorn::HomographySet& out);

  /// The indices of the lines that are faster than `maxGradient`, per axis; the result is how many there are in all.
  int GetBadGradients(std::vector<int>& x, std::vector<int>& y) const;
  /// The speed of the fastest line, in pixels per frame.
  float GetMaximumSpeed() const;
  /// The processed position at a frame.
  float GetStartAtFrame(int axis, int unused, int frame) const;

  /// Splits the event behind a frame, which must be `minEventFrames` or more from both ends of it.
  bool AddEvent(int axis, int frame);
  /// Removes the boundary nearest to a frame, if it is within `minEventFrames`. A boundary of a broken stretch stays.
  bool DeleteEvent(int axis, int frame);
  /// Merges an event into the good one before it, or else into the good one behind it. A broken event stays.
  bool DeleteEventBySection(int axis, int index);
  /// Does so for all events from `first` to `last`, and refits what they merge into. The indices run through the
  /// horizontal events and on into the vertical ones, and must fall on one axis.
  bool DeleteEventSelection(int first, int last);
  /// Fits a line or a hold anew, and adjusts its neighbours to it.
  bool Refit(int axis, int index);
  /// Moves the boundary of the other axis that is nearest to the boundary on `axis` onto it: the latter is the one
  /// nearest to a frame, or the one in front of a section. A boundary of a broken stretch stays, and no event is left
  /// without frames.
  bool AlignEvents(int axis, int frame);
  bool AlignEventsBySection(int axis, int index);
  /// Applies changed parameters to a section, and keeps the path continuous. A section that turns into a line is
  /// fitted; a line that was one already keeps the eases that it is given. `params` becomes what was installed.
  bool UpdateFilterParameters(int axis, int index, MotionFixParams& params);
  /// Installs event lists whose boundaries were moved. An axis whose number of events changed is fitted afresh.
  void UpdateSections(const std::vector<MotionInterval>& horizontal, const std::vector<MotionInterval>& vertical);
  /// Sets the speed at which a section starts to the processed one, or to 0 behind a broken stretch.
  bool SetupInitialVelocity(int axis, int index);
  /// Recomputes the speeds of all lines.
  void AdjustAllLinearFilters();

  std::vector<MotionInterval> eventsX;
  std::vector<MotionInterval> eventsY;
  int version = 3;           ///< The format version last read.
  bool adjustOnEdit = true;  ///< `UpdateFilterParameters` lines up the start positions of both axes.
  std::vector<MotionFixParams> filtersX;
  std::vector<MotionFixParams> filtersY;
  float maxGradient = 8.0f;   ///< Pixels per frame above which a line counts as bad.
  int minEventFrames = 10;    ///< The nearest that an edited boundary may come to another, in frames.
  MotionCorrect* correcter;   ///< Not owned.
  bool keepPositions = true;  ///< `UpdateSections` carries positions over from the processed path.
  bool compensating = false;  ///< `Correct` stores translations alone.

 private:
  /// One axis: its number, and its two lists.
  struct Axis {
    int axis;
    std::vector<MotionInterval>& events;
    std::vector<MotionFixParams>& filters;
    bool holds(int index) const;
    bool isBroken(int index) const;
    bool isType(int index, int compType) const;
    MotionFixParams& filter(int index) { return filters[static_cast<std::size_t>(index)]; }
    MotionInterval& event(int index) { return events[static_cast<std::size_t>(index)]; }
    int last() const { return static_cast<int>(events.size()) - 1; }
    void erase(int index);
  };
  Axis onAxis(int axis);

  MotionFixParams uncompensated(int axis, const MotionInterval& event) const;
  float processedPosition(int axis, int frame) const;
  float aimOf(const Axis& at, int index) const;
  void initialiseSections(Axis at);
  void fitAxis(Axis at);

  void adjustLine(Axis& at, int index);
  void fitLine(Axis& at, int index);
  void spreadHold(Axis& at, int index, float position);
  int mergeSection(Axis& at, int index);
  bool moveBoundary(Axis& at, int boundary);
  void makeUncompensated(Axis& at, int index);
  void makeHold(Axis& at, int index);
  void makeLine(Axis& at, int index, bool wasLine);
  void joinNeighbours(Axis& at, int index);
  void lineUpStarts(Axis at);
  void moveSections(Axis at, const std::vector<MotionInterval>& events);
  void carryStart(Axis& at, int index);
  void carryEnd(Axis& at, int index);
};
