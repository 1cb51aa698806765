#import "rights/Common.h"

#include <Security/AuthorizationDB.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

#import "helper-client/HelperToolProtocol.h"

namespace {

const char *const installRight = "com.example.apple-samplecode.EBAS.install";
const char *const bindRight = "com.example.apple-samplecode.EBAS.startWebService2";

class CommonClass : public testing::Test {
 protected:
  ~CommonClass() override { [pool_ drain]; }
  NSAutoreleasePool *pool_ = [[NSAutoreleasePool alloc] init];
};

TEST_F(CommonClass, TwoCallsOfCommandInfoReturnTheSameObject) { EXPECT_EQ([Common commandInfo], [Common commandInfo]); }

TEST_F(CommonClass, CommandInfoHoldsExactlyTwoRecordsOfThreeEntries) {
  NSDictionary *info = [Common commandInfo];
  EXPECT_EQ([info count], 2U);
  NSDictionary *install = [info objectForKey:@"install:authorization:withReply:"];
  EXPECT_TRUE(([install isEqualToDictionary:@{
    @"authRightName" : @"com.example.apple-samplecode.EBAS.install",
    @"authRightDefault" : @"allow",
    @"authRightDescription" : @"Install Quillmark is trying to install its components.",
  }]));
  NSDictionary *bind = [info objectForKey:@"bindToLowNumberPortAuthorization:withReply:"];
  EXPECT_TRUE(([bind isEqualToDictionary:@{
    @"authRightName" : @"com.example.apple-samplecode.EBAS.startWebService2",
    @"authRightDefault" : @"authenticate-admin",
    @"authRightDescription" : @"EBAS is trying to start its web service.",
  }]));
}

TEST_F(CommonClass, TheRightOfAMessageIsFoundByItsSelector) {
  EXPECT_TRUE([[Common authorizationRightForCommand:@selector(install:authorization:withReply:)]
      isEqualToString:@"com.example.apple-samplecode.EBAS.install"]);
  EXPECT_EQ([Common authorizationRightForCommand:@selector(getVersionWithReply:)], nil);
  EXPECT_EQ([Common authorizationRightForCommand:@selector(connectWithEndpointReply:)], nil);
}

TEST_F(CommonClass, TheWalkCallsItsBlockTwiceWithThreeValuesThatAreNotNull) {
  __block int calls = 0;
  [Common enumerateRightsUsingBlock:^(NSString *name, id rule, NSString *description) {
    ++calls;
    EXPECT_NE(name, nil);
    EXPECT_NE(rule, nil);
    EXPECT_NE(description, nil);
  }];
  EXPECT_EQ(calls, 2);
}

TEST_F(CommonClass, RegisteringCreatesTheRightsThatTheDatabaseLacks) {
  EXPECT_EQ(AuthorizationRightGet(installRight, nullptr), -60005);
  [Common setupAuthorizationRights:nullptr];
  EXPECT_EQ(AuthorizationRightGet(installRight, nullptr), 0);
  EXPECT_EQ(AuthorizationRightGet(bindRight, nullptr), 0);
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
