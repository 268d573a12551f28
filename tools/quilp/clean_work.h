// clean_work.h - the reduced grey copy of a page that the pipeline's measuring steps share.
#pragma once

#include "quilp/cli.h"

namespace quilp_cli {

// The page's grey reduced by block means to about 150 dpi, made once and kept in step with
// the full-size page: orientation, skew and the margin marks are all found on it, at a
// quarter of the cost of looking at the page itself.
class WorkCopy {
 public:
  // Throws CliError when memory runs out.
  WorkCopy(DibInfo* grey, double dpi);
  DibInfo* Image() const { return small_.get(); }
  int Factor() const { return factor_; }
  double Dpi() const { return dpi_; }
  // The quarter turns that make the text upright (DibDetectDominantOrientation): -1 when it
  // cannot be told, -2 when memory ran out.
  int Orientation(int& confidence) const;
  // The same turn as the page's (DibRotateBy90).
  void Turn(int quarters);
  // The skew in radians (DibHoughGetAngle); false when it could not be measured.
  bool MeasureSkew(double& radians) const;

 private:
  Dib small_;
  int factor_ = 1;
  double dpi_ = 150;
};

// The page turned by `radians` about its centre, of its size (bilinear).
Dib Straightened(DibInfo* image, double radians);

}  // namespace quilp_cli
