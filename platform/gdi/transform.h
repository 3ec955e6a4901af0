// World transforms.
#pragma once

#include <windows.h>

namespace platform {

struct Transform {
  double m11 = 1, m12 = 0, m21 = 0, m22 = 1, dx = 0, dy = 0;

  static Transform From(const XFORM& x) { return {x.eM11, x.eM12, x.eM21, x.eM22, x.eDx, x.eDy}; }
  XFORM ToXform() const {
    return {static_cast<FLOAT>(m11), static_cast<FLOAT>(m12), static_cast<FLOAT>(m21),
            static_cast<FLOAT>(m22), static_cast<FLOAT>(dx),  static_cast<FLOAT>(dy)};
  }
  bool operator==(const Transform&) const = default;
  bool IsIdentity() const { return *this == Transform(); }
  bool IsInvertible() const { return m11 * m22 != m12 * m21; }

  // This one, then `next`.
  Transform Then(const Transform& next) const {
    return {m11 * next.m11 + m12 * next.m21,         m11 * next.m12 + m12 * next.m22,
            m21 * next.m11 + m22 * next.m21,         m21 * next.m12 + m22 * next.m22,
            dx * next.m11 + dy * next.m21 + next.dx, dx * next.m12 + dy * next.m22 + next.dy};
  }
  double X(double x, double y) const { return x * m11 + y * m21 + dx; }
  double Y(double x, double y) const { return x * m12 + y * m22 + dy; }
};

}  // namespace platform
