// eigen_symmetric.h - eigenpairs of a symmetric 3x3 matrix.
#pragma once

namespace quilp {

// Eigenvalues in ascending order and the matching unit eigenvectors (vectors[k] belongs to
// values[k]). Cyclic Jacobi rotations until the off-diagonal part vanishes (at most 50
// sweeps), then a selection sort by eigenvalue.
void DibEigenSymmetric(double const matrix[3][3], double values[3], double vectors[3][3]);

}  // namespace quilp
