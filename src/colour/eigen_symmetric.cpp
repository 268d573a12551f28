// eigen_symmetric.cpp - cyclic Jacobi eigen-solver for symmetric 3x3 matrices.
//
// Each rotation zeroes one off-diagonal element; a sweep visits all three. Convergence is
// quadratic, so a handful of sweeps reaches machine precision. Cost is negligible next to
// the moment pass that builds the matrix.
#include "colour/eigen_symmetric.h"

#include <cmath>

namespace quilp {

void DibEigenSymmetric(double const matrix[3][3], double values[3], double vectors[3][3]) {
  double a[3][3], v[3][3];
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) {
      a[i][j] = matrix[i][j];
      v[i][j] = i == j ? 1.0 : 0.0;
    }
  for (int sweep = 0; sweep < 50; ++sweep) {
    double const off = std::fabs(a[0][1]) + std::fabs(a[0][2]) + std::fabs(a[1][2]);
    if (off == 0.0) break;
    for (int p = 0; p < 2; ++p)
      for (int q = p + 1; q < 3; ++q) {
        if (a[p][q] == 0.0) continue;
        // Rotation angle that zeroes a[p][q] (Numerical Recipes' stable form).
        double const theta = (a[q][q] - a[p][p]) / (2.0 * a[p][q]);
        double const t = (theta >= 0 ? 1.0 : -1.0) /
                         (std::fabs(theta) + std::sqrt(theta * theta + 1.0));
        double const c = 1.0 / std::sqrt(t * t + 1.0), s = t * c;
        for (int k = 0; k < 3; ++k) {  // columns p and q
          double const akp = a[k][p], akq = a[k][q];
          a[k][p] = c * akp - s * akq;
          a[k][q] = s * akp + c * akq;
        }
        for (int k = 0; k < 3; ++k) {  // rows p and q
          double const apk = a[p][k], aqk = a[q][k];
          a[p][k] = c * apk - s * aqk;
          a[q][k] = s * apk + c * aqk;
        }
        for (int k = 0; k < 3; ++k) {
          double const vkp = v[k][p], vkq = v[k][q];
          v[k][p] = c * vkp - s * vkq;
          v[k][q] = s * vkp + c * vkq;
        }
      }
  }
  int order[3] = {0, 1, 2};
  for (int i = 0; i < 2; ++i) {  // selection sort, ascending
    int best = i;
    for (int j = i + 1; j < 3; ++j)
      if (a[order[j]][order[j]] < a[order[best]][order[best]]) best = j;
    int const tmp = order[i];
    order[i] = order[best];
    order[best] = tmp;
  }
  for (int k = 0; k < 3; ++k) {
    values[k] = a[order[k]][order[k]];
    for (int i = 0; i < 3; ++i) vectors[k][i] = v[i][order[k]];
  }
}

}  // namespace quilp
