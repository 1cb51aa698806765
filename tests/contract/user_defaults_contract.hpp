#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/foundation.hpp"

namespace quillmark::contract {

/// User defaults whose values a test sets by type.
class UserDefaultsSubject {
 public:
  virtual ~UserDefaultsSubject() = default;
  virtual UserDefaults &defaults() = 0;
  virtual void setString(const std::string &key, const std::string &value) = 0;
  virtual void setInteger(const std::string &key, int value) = 0;
};

using MakeUserDefaultsSubject = std::unique_ptr<UserDefaultsSubject> (*)();

class UserDefaultsContract : public testing::TestWithParam<MakeUserDefaultsSubject> {
 protected:
  std::unique_ptr<UserDefaultsSubject> subject_ = GetParam()();
  UserDefaults &defaults_ = subject_->defaults();
};

TEST_P(UserDefaultsContract, AnAbsentValueIsNothing) {
  EXPECT_FALSE(defaults_.hasValueForKey("absentID"));
  EXPECT_EQ(defaults_.valueForKey("absentID"), std::nullopt);
}

TEST_P(UserDefaultsContract, AStringIsAValueAndIsReadAsItStands) {
  for (const std::string text : {"", " \"T\u00e9am\"\n100% @ ", "\uFEFFP\xED\xA0\x80"}) {
    subject_->setString("teamID", text);
    EXPECT_TRUE(defaults_.hasValueForKey("teamID"));
    EXPECT_EQ(defaults_.valueForKey("teamID"), text);
  }
}

TEST_P(UserDefaultsContract, ANumberIsReadInDecimal) {
  subject_->setInteger("teamID", -42);
  EXPECT_TRUE(defaults_.hasValueForKey("teamID"));
  EXPECT_EQ(defaults_.valueForKey("teamID"), "-42");
}

}  // namespace quillmark::contract
