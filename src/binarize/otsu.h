// otsu.h - Otsu's criterion: one threshold for two classes, two for three.
//
// Conventions of the two outputs differ and both are kept: a two-class threshold t is the
// first level of the upper class (levels 0..t-1 | t..n-1), while three-class thresholds t1, t2
// are the last levels of their lower classes (levels 1..t1 | t1+1..t2 | t2+1..n-1; level 0
// takes part in the total mean but in no class).
#pragma once

#include "record/view.h"

namespace quilp {

// Two classes. Every bin gets a prior weight e = 1/n (single precision, widened); the
// cumulative weight starts at e while the cumulative moment starts at 0, an asymmetry kept on
// purpose. Searches t in lo..hi for the largest between-class score
//   W[t] (M[t]/W[t] - mu)^2 + (W[n] - W[t]) ((M[n] - M[t])/(W[n] - W[t]) - mu)^2,
// strictly greater than every earlier one (ties keep the smallest t). Bin i has the value i,
// or values[i] when given. Returns the threshold, 0 when no score exceeds 0, -1 for bad
// arguments (null hist, n < 2, lo < 0, hi >= n), -2 when memory runs out.
int DibOtsuThreshold(int const* hist, int n, int lo, int hi, float const* values);

// Three classes, first stage: allocates n rows of n doubles into rows[0..n-1] and fills the
// upper triangle with rows[u][v] = contribution of the levels u+1..v. The moment product
// k * hist[k] wraps to 32 bits as the criterion requires. Returns 1; 0 when n < 1 or memory
// runs out (rows are then all null) or the histogram is empty (rows allocated, not filled).
int DibOtsuClassTable(int n, int const* hist, double** rows);
// Three classes, second stage: the best pair over a filled table; ties keep the smallest t2,
// then the smallest t1. pair is written only when a score beats the best so far (which starts
// at 0.0). Returns 1.
int DibOtsuBestPair(int n, double* const* rows, double* best, int* pair);
// Releases the rows of a table (null rows are skipped) and nulls them. Returns 1.
int DibOtsuFreeTable(int n, double** rows);

// Histogram of an 8-bit view (counts of levels 0, 1, 254, 255 dropped with ignoreExtremes)
// and its thresholds: count 2 stores the two-class result in levels[0] (including -2 when
// memory runs out); count 3 stores the best pair in levels[0..1] when a score exceeds 0 and
// leaves them untouched otherwise. Returns 0, writing nothing, when count is not 2 or 3.
int DibViewOtsuLevels(int* levels, DibView const& view, int count, bool ignoreExtremes);

// The three-class pair of a 256-level histogram; false when the table cannot be built (empty
// histogram or no memory), pair then untouched. *outOfMemory tells the two apart.
bool OtsuPair(int const hist[256], int pair[2], bool* outOfMemory);

}  // namespace quilp
