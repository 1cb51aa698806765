#import "rights/Common.h"

#include <gtest/gtest.h>
#include <objc/runtime.h>

#include <set>
#include <string>

#import "HelperToolProtocol.h"
#import "platform/gnustep/security_calls.h"

@interface NSBundle (Translation)
@end

@implementation NSBundle (Translation)

- (NSString *)translationOfKey:(NSString *)key value:(NSString *)value table:(NSString *)table {
  const bool isAsked = self == [NSBundle mainBundle] && table == nil && [value isEqualToString:@""];
  return isAsked ? [@"translated: " stringByAppendingString:key] : @"from elsewhere";
}

@end

namespace {

const char *const installRight = "com.example.apple-samplecode.EBAS.install";
const char *const bindRight = "com.example.apple-samplecode.EBAS.startWebService2";

class CommonClass : public testing::Test {
 protected:
  ~CommonClass() override { [pool_ drain]; }
  NSAutoreleasePool *pool_ = [[NSAutoreleasePool alloc] init];
};

TEST_F(CommonClass, TwoCallsOfCommandInfoReturnTheSameObject) { EXPECT_EQ([Common commandInfo], [Common commandInfo]); }

TEST_F(CommonClass, CommandInfoHoldsTheRecordOfEachCommandThatNeedsARight) {
  NSDictionary *info = [Common commandInfo];
  EXPECT_EQ([info count], 2U);
  NSDictionary *install = [info objectForKey:@"install:authorization:withReply:"];
  EXPECT_TRUE(([install isEqualToDictionary:@{
    @"authRightName" : @"com.example.apple-samplecode.EBAS.install",
    @"authRightDefault" : @"allow",
    @"authRightDescription" : @"Install Quillmark is trying to install its components.",
  }]));
  EXPECT_TRUE([[Common authorizationRightForCommand:@selector(install:authorization:withReply:)]
      isEqualToString:[install objectForKey:@"authRightName"]]);
  EXPECT_EQ([Common authorizationRightForCommand:@selector(getVersionWithReply:)], nil);
  NSDictionary *bind = [info objectForKey:@"bindToLowNumberPortAuthorization:withReply:"];
  EXPECT_TRUE(([bind isEqualToDictionary:@{
    @"authRightName" : @"com.example.apple-samplecode.EBAS.startWebService2",
    @"authRightDefault" : @"authenticate-admin",
    @"authRightDescription" : @"EBAS is trying to start its web service.",
  }]));
}

TEST_F(CommonClass, TheCatalogueAndItsRecordsCannotBeChanged) {
  NSDictionary *info = [Common commandInfo];
  for (NSDictionary *dictionary in [[info allValues] arrayByAddingObject:info]) {
    EXPECT_FALSE([dictionary isKindOfClass:[NSMutableDictionary class]]);
  }
}

TEST_F(CommonClass, ADescriptionIsTranslatedByTheDefaultTable) {
  const Method lookUp = class_getInstanceMethod([NSBundle class], @selector(localizedStringForKey:value:table:));
  const Method translate = class_getInstanceMethod([NSBundle class], @selector(translationOfKey:value:table:));
  const IMP former = method_setImplementation(lookUp, method_getImplementation(translate));
  NSDictionary *record = [[Common commandInfo] objectForKey:@"install:authorization:withReply:"];
  method_setImplementation(lookUp, former);
  EXPECT_TRUE([[record objectForKey:@"authRightDescription"]
      isEqualToString:@"translated: Install Quillmark is trying to install its components."]);
}

TEST_F(CommonClass, TheWalkHandsOutEachRightWithItsRuleAndItsDescription) {
  NSMutableArray *walked = [NSMutableArray array];
  [Common enumerateRightsUsingBlock:^(NSString *name, id rule, NSString *description) {
    [walked addObject:@{
      @"authRightName" : name,
      @"authRightDefault" : rule,
      @"authRightDescription" : description,
    }];
  }];
  EXPECT_TRUE([[NSSet setWithArray:walked] isEqualToSet:[NSSet setWithArray:[[Common commandInfo] allValues]]]);
  EXPECT_EQ([walked count], 2U);
}

class Registering : public CommonClass {
 protected:
  Registering() {
    for (const char *right : {installRight, bindRight}) setAuthorizationRightStatus(right, denied);
  }

  static std::vector<RightSetCall> registered(AuthorizationRef authorization = nullptr) {
    rightSetCalls().clear();
    [Common setupAuthorizationRights:authorization];
    return rightSetCalls();
  }

  static constexpr OSStatus denied = -60005;

  static void expectCall(const RightSetCall &call, const char *name, NSString *rule, NSString *description) {
    EXPECT_EQ(call.name, name);
    EXPECT_TRUE([call.definition isEqual:rule]);
    EXPECT_TRUE([call.descriptionKey isEqualToString:description]);
    EXPECT_EQ(call.bundle, nullptr) << "null means the main bundle";
    EXPECT_TRUE([call.stringsTable isEqualToString:@"Common"]);
  }
};

TEST_F(Registering, CreatesTheRightsThatTheDatabaseLacksEachWithItsRuleAndItsDescription) {
  const int anything = 0;
  const auto authorization = reinterpret_cast<AuthorizationRef>(&anything);
  auto calls = registered(authorization);
  ASSERT_EQ(calls.size(), 2U);
  for (const RightSetCall &call : calls) EXPECT_EQ(call.authorization, authorization);
  if (calls[0].name == bindRight) std::swap(calls[0], calls[1]);
  expectCall(calls[0], installRight, @"allow", @"Install Quillmark is trying to install its components.");
  expectCall(calls[1], bindRight, @"authenticate-admin", @"EBAS is trying to start its web service.");
}

TEST_F(Registering, LeavesEachRightAloneWhoseStatusIsNotDenied) {
  for (const OSStatus status : {0, -60001, -60004, -60006, -60008, -60031, 1, 60005}) {
    setAuthorizationRightStatus(installRight, status);
    setAuthorizationRightStatus(bindRight, denied);
    const auto calls = registered();
    ASSERT_EQ(calls.size(), 1U) << status;
    EXPECT_EQ(calls[0].name, bindRight);
  }
}

TEST_F(CommonClass, TheFirstCallsFromManyThreadsReturnOneObject) {
  NSOperationQueue *queue = [[[NSOperationQueue alloc] init] autorelease];
  __block std::set<id> *made = new std::set<id>;
  NSLock *lock = [[[NSLock alloc] init] autorelease];
  for (int call = 0; call < 100; ++call) {
    [queue addOperationWithBlock:^{
      id info = [Common commandInfo];
      [lock lock];
      made->insert(info);
      [lock unlock];
    }];
  }
  [queue waitUntilAllOperationsAreFinished];
  EXPECT_EQ(made->size(), 1U);
  delete made;
}

}  // namespace
