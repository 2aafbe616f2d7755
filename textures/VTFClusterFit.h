#pragma once

// The inner loop of squish's iterative cluster fit, run for up to eight
// blocks at once, one block to a lane of a vector. Every lane does exactly
// the single-precision operations of squish's scalar code for its block, in
// the same order and without fused multiply-adds (this file's code is built
// with -ffp-contract=off), so that each lane's answer is bit for bit the one
// squish finds for that block alone.

#include <QtGlobal>

namespace VTF {
namespace ClusterFit {

constexpr int Lanes = 8;
constexpr int MaxPoints = 16;

// A lane's eight values, aligned for vector loads.
struct alignas(32) LaneFloats
{
    float v[Lanes];
};
struct alignas(32) LaneInts
{
    qint32 v[Lanes];
};

// One round (one ordering) of the fit for blocks of the same point count.
// The caller loads each lane's points in their current order, weighted, and
// their sum; the round keeps, per lane, the best candidate seen so far.
struct Batch
{
    int count = 0; // points per block, the same in every lane
    LaneFloats x[MaxPoints], y[MaxPoints], z[MaxPoints], w[MaxPoints];
    LaneFloats sumX, sumY, sumZ, sumW;
    LaneInts active; // -1 for a lane that takes part, 0 otherwise

    // Kept across rounds; the caller sets them when a block enters a lane.
    LaneFloats bestError;
    LaneFloats startX, startY, startZ, endX, endY, endZ;
    LaneInts bestI, bestJ, bestK;
    // Set by a round: -1 where the lane's best improved in it.
    LaneInts improved;
};

// The four-colour fit: clusters at 0, 1/3, 2/3 and 1 along the line.
void runFourColourRound(Batch &batch, const float metric[3]);
// The three-colour fit of DXT1: clusters at 0, 1/2 and 1.
void runThreeColourRound(Batch &batch, const float metric[3]);

} // namespace ClusterFit
} // namespace VTF
