#include "film/OverlayPanel.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "film/OverlayColours.h"
#include "film/OverlayMarks.h"

using Vorn::Point2D;

namespace film {
namespace {

constexpr const char* featureWords[] = {"tracked", "new", "lost", "barred", "still"};
constexpr const char* eventWords[] = {"hold", "move", "as filmed", "broken"};
constexpr const char* barNames[] = {"across", "down", "confidence"};
constexpr double barNameSize = 0.7;  // of the letters'
constexpr double signGap = 0.45;     // of a sign's width
constexpr float panelShare = 0.65f;
constexpr double largestPanel = 0.4, largestBars = 0.25;  // of the picture's height
// What the planner takes for broken.
constexpr float lowConfidence = 0.1f;

double signWidth(double letters) { return 0.9 * letters; }

std::string decimals(float value) {
  char text[16];
  std::snprintf(text, sizeof text, "%.2f", static_cast<double>(value));
  return text;
}

}  // namespace

EventKind EventKindAt(const std::vector<MotionInterval>& events, const std::vector<MotionFixParams>& fits, int number) {
  for (size_t i = 0; i < events.size(); ++i) {
    if (number < events[i].begin_frame || number > events[i].end_frame) continue;
    if (events[i].motion_type == MotionBroken) return EventKind::Broken;
    if (i >= fits.size() || fits[i].comp_type == MotionFixParams::None) return EventKind::AsFilmed;
    return fits[i].comp_type == Hold ? EventKind::Hold : EventKind::Move;
  }
  return EventKind::AsFilmed;
}

/// Where everything goes: rows of legend above three bars.
struct OverlayPanel::Layout {
  double letters = 0;
  std::vector<std::pair<double, int>> places;  // of the legend's items: x and row
  int rows = 0;                                // of the legend
  double rowHeight = 0;
  int gap = 0, barHeight = 0, barsLeft = 0, barsRight = 0, barsTop = 0;
  int top = 0;  // of the panel

  Layout(const Canvas& canvas, const OverlayScale& scale, const std::vector<Item>& list) {
    letters = scale.letters;
    rowHeight = 1.6 * letters;
    gap = std::max(1, static_cast<int>(std::lround(0.4 * letters)));
    barHeight = std::max(2, static_cast<int>(std::lround(0.65 * letters)));
    flow(canvas.width(), list);
    double widest = 0;
    for (const char* name : barNames) widest = std::max(widest, Canvas::TextWidth(barNameSize * letters, name));
    barsLeft = 2 * gap + static_cast<int>(std::ceil(widest));
    barsRight = canvas.width() - gap;
    const bool readable = barsRight - barsLeft > 4 * letters && height() <= largestPanel * canvas.height();
    if (!readable) shrink(canvas);
    top = canvas.height() - height();
    barsTop = canvas.height() - barsHeight();
  }

  bool hasWords() const { return rows > 0; }
  int barsHeight() const { return barHeight > 0 ? 3 * (barHeight + gap) + gap : 0; }
  int height() const { return barsHeight() + static_cast<int>(std::lround(rows * rowHeight)); }
  int barTop(int bar) const { return barsTop + gap + bar * (barHeight + gap); }
  /// The column at which a frame begins.
  int column(int number, int pictures) const {
    return barsLeft + static_cast<int>(static_cast<long long>(barsRight - barsLeft) * number / pictures);
  }

 private:
  void flow(int width, const std::vector<Item>& list) {
    double x = gap;
    rows = 1;
    for (const Item& item : list) {
      const double wide =
          Canvas::TextWidth(letters, item.words) + (item.sign == Item::None ? 0.0 : (1 + signGap) * signWidth(letters));
      if (x > gap && x + wide > width - gap) {
        x = gap;
        ++rows;
      }
      places.emplace_back(x, rows - 1);
      x += wide + 1.2 * letters;
    }
  }

  void shrink(const Canvas& canvas) {
    places.clear();
    rows = 0;
    barsLeft = 0;
    barsRight = canvas.width();
    gap = 1;
    barHeight = 2;
    if (barsHeight() > largestBars * canvas.height()) barHeight = 0;
  }
};

OverlayPanel::OverlayPanel(const MotionProcessorFCPX& motionPlanner, int pictureCount, int picturesEach)
    : planner(motionPlanner), pictures(pictureCount), each(picturesEach) {
  for (const MotionInterval& event : *planner.eventsX())
    occurring[static_cast<size_t>(EventKindAt(*planner.eventsX(), *planner.filtersX(), event.begin_frame))] = true;
  for (const MotionInterval& event : *planner.eventsY())
    occurring[static_cast<size_t>(EventKindAt(*planner.eventsY(), *planner.filtersY(), event.begin_frame))] = true;
}

void OverlayPanel::draw(Canvas& canvas, const OverlayScale& scale, int number,
                        const std::vector<FeatureMark>& marks) const {
  const std::vector<Item> list = items(number, marks);
  const Layout layout(canvas, scale, list);
  if (layout.barHeight == 0) return;
  canvas.fill(0, layout.top, canvas.width(), canvas.height(), overlay::black, panelShare);
  for (size_t i = 0; i < layout.places.size(); ++i) {
    const auto& [x, row] = layout.places[i];
    drawItem(canvas, scale, list[i], x, layout.top + layout.gap + layout.letters + row * layout.rowHeight);
  }
  drawBars(canvas, layout, number);
}

std::vector<OverlayPanel::Item> OverlayPanel::items(int number, const std::vector<FeatureMark>& marks) const {
  std::vector<Item> list;
  const std::string last = std::to_string(pictures / each - 1);
  std::string frame = std::to_string(number / each);
  frame.insert(0, last.size() - std::min(last.size(), frame.size()), '0');  // so that nothing jumps
  list.push_back({Item::None, 0, overlay::white, "frame " + frame + "/" + last});
  list.push_back({Item::None, 0, overlay::white, "confidence " + decimals(planner.motionConfidence.Get(number))});
  addEvents("across", EventKindAt(*planner.eventsX(), *planner.filtersX(), number), &list);
  addEvents("down", EventKindAt(*planner.eventsY(), *planner.filtersY(), number), &list);
  std::array<int, featureKinds> counts{};
  for (const FeatureMark& mark : marks) ++counts[static_cast<size_t>(mark.kind)];
  for (int kind = 0; kind < featureKinds; ++kind)
    list.push_back({Item::Feature, kind, overlay::features[kind],
                    std::string(featureWords[kind]) + " " + std::to_string(counts[static_cast<size_t>(kind)])});
  list.push_back({Item::Line, 0, overlay::measured, "centre filmed"});
  list.push_back({Item::Line, 0, overlay::planned, "centre planned"});
  list.push_back({Item::Frame, 0, overlay::planned, "shown"});
  for (int kind = 0; kind < eventKinds; ++kind)
    if (occurring[static_cast<size_t>(kind)]) list.push_back({Item::Chip, 0, overlay::events[kind], eventWords[kind]});
  return list;
}

void OverlayPanel::addEvents(const char* name, EventKind kind, std::vector<Item>* list) const {
  const int place = static_cast<int>(kind);
  list->push_back({Item::Chip, 0, overlay::events[place], std::string(name) + ": " + eventWords[place]});
}

void OverlayPanel::drawItem(Canvas& canvas, const OverlayScale& scale, const Item& item, double x,
                            double baseline) const {
  const double wide = signWidth(scale.letters), half = wide / 2, middle = baseline - 0.4 * scale.letters;
  const auto pixel = [](double v) { return static_cast<int>(std::lround(v)); };
  const double rise = 0.3 * scale.letters;
  switch (item.sign) {
    case Item::None:
      return canvas.text({x, baseline}, scale.letters, item.words, overlay::white);
    case Item::Feature: {
      OverlayScale larger = scale;
      larger.mark = std::max(scale.mark, 0.14 * scale.letters);
      DrawFeatureMark(canvas, larger, static_cast<FeatureKind>(item.kind), {x + half, middle});
      break;
    }
    case Item::Chip:
      canvas.fill(pixel(x), pixel(middle - half), pixel(x + wide), pixel(middle + half), item.colour);
      break;
    case Item::Line:
      canvas.line({x, middle}, {x + wide, middle}, 2 * scale.stroke, item.colour);
      break;
    case Item::Frame: {
      const Point2D corners[] = {
          {x, middle - rise}, {x + wide, middle - rise}, {x + wide, middle + rise}, {x, middle + rise}};
      for (int i = 0; i < 4; ++i) canvas.line(corners[i], corners[(i + 1) % 4], scale.stroke, item.colour);
      break;
    }
  }
  canvas.text({x + (1 + signGap) * wide, baseline}, scale.letters, item.words, overlay::white);
}

void OverlayPanel::drawBars(Canvas& canvas, const Layout& layout, int number) const {
  if (layout.hasWords())
    for (int bar = 0; bar < 3; ++bar) {
      const double size = barNameSize * layout.letters;
      canvas.text({static_cast<double>(layout.gap), layout.barTop(bar) + (layout.barHeight + size) / 2}, size,
                  barNames[bar], overlay::white);
    }
  drawEventBar(canvas, layout, layout.barTop(0), *planner.eventsX(), *planner.filtersX());
  drawEventBar(canvas, layout, layout.barTop(1), *planner.eventsY(), *planner.filtersY());
  drawConfidence(canvas, layout, layout.barTop(2));
  const int x = layout.column(number, pictures), wide = std::max(1, layout.gap / 2);
  canvas.fill(x - 1, layout.barTop(0) - layout.gap, x + wide + 1, canvas.height(), overlay::black);
  canvas.fill(x, layout.barTop(0) - layout.gap, x + wide, canvas.height(), overlay::white);
}

void OverlayPanel::drawEventBar(Canvas& canvas, const Layout& layout, int top,
                                const std::vector<MotionInterval>& events,
                                const std::vector<MotionFixParams>& fits) const {
  for (const MotionInterval& event : events) {
    const int first = std::clamp(event.begin_frame, 0, pictures),
              end = std::clamp(event.end_frame, -1, pictures - 1) + 1;
    const int left = layout.column(first, pictures), right = layout.column(end, pictures);
    const Colour& colour = overlay::events[static_cast<int>(EventKindAt(events, fits, event.begin_frame))];
    // A gap of a pixel tells where one event ends and the next begins.
    canvas.fill(left, top, std::max(left + 1, right - 1), top + layout.barHeight, colour);
  }
}

void OverlayPanel::drawConfidence(Canvas& canvas, const Layout& layout, int top) const {
  for (int x = layout.barsLeft; x < layout.barsRight; ++x) {
    const auto numberAt = [&](int column) {
      return static_cast<int>(static_cast<long long>(column - layout.barsLeft) * pictures /
                              (layout.barsRight - layout.barsLeft));
    };
    float least = 1.0f;  // of the frames that share the column
    const int first = numberAt(x), end = std::max(first + 1, numberAt(x + 1));
    for (int number = first; number < std::min(end, pictures); ++number)
      least = std::min(least, planner.motionConfidence.Get(number));
    const int height =
        static_cast<int>(std::lround(std::clamp(least, 0.0f, 1.0f) * static_cast<float>(layout.barHeight)));
    const int bottom = top + layout.barHeight;
    if (least <= lowConfidence)
      canvas.fill(x, top, x + 1, bottom, overlay::vermilion);
    else
      canvas.fill(x, bottom - height, x + 1, bottom, overlay::green);
  }
}

}  // namespace film
