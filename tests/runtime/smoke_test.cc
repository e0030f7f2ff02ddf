#include <gtest/gtest.h>

#include "runtime/date.h"

namespace quellmark {
namespace {

TEST(Smoke, Builds) { EXPECT_EQ(Date::FromTotalSeconds(0).Year(), 1904); }

}  // namespace
}  // namespace quellmark
