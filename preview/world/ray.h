#pragma once

#include "host/types.h"

namespace preview {

/// A ray in render space; the direction has unit length.
struct Ray {
  QUtils::DVector origin;
  QUtils::Vector direction;
};

}  // namespace preview
