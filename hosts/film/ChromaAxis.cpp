#include "film/ChromaAxis.h"

namespace film {
namespace {

constexpr ChromaAxis::Finer finerBySiting[] = {
    {{0, 0}, {{1.0f, 0.0f}, {0.5f, 0.5f}}},           // First
    {{-1, 0}, {{0.25f, 0.75f}, {0.75f, 0.25f}}},      // Centre
    {{-1, 0}, {{0.5f, 0.5f}, {1.0f, 0.0f}}},          // Second
    {{-1, 0}, {{0.125f, 0.875f}, {0.625f, 0.375f}}},  // Quarter
    {{-1, 0}, {{0.375f, 0.625f}, {0.875f, 0.125f}}},  // ThreeQuarters
};
constexpr ChromaAxis::Coarser coarserBySiting[] = {
    {-2, 5, {-0.125f, 0.25f, 0.75f, 0.25f, -0.125f}},
    {-1, 4, {-0.25f, 0.75f, 0.75f, -0.25f, 0.0f}},
    {-1, 5, {-0.125f, 0.25f, 0.75f, 0.25f, -0.125f}},
    {-1, 4, {-5.0f / 32, 25.0f / 32, 21.0f / 32, -9.0f / 32, 0.0f}},
    {-1, 4, {-9.0f / 32, 21.0f / 32, 25.0f / 32, -5.0f / 32, 0.0f}},
};

}  // namespace

ChromaAxis::ChromaAxis(bool isHalved, Siting siting)
    : halved(isHalved),
      finer(finerBySiting[static_cast<int>(siting)]),
      coarser(coarserBySiting[static_cast<int>(siting)]) {}

}  // namespace film
