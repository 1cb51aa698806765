#pragma once

#import <Foundation/Foundation.h>
#include <Security/AuthorizationDB.h>

#include <string>
#include <vector>

/// What the stand-ins of Security and ServiceManagement were asked, in order, for the tests of this process. Objects
/// are retained. Main thread.

struct RightSetCall {
  AuthorizationRef authorization;
  std::string name;
  id definition;
  NSString *descriptionKey;
  CFBundleRef bundle;
  NSString *stringsTable;
};

std::vector<RightSetCall> &rightSetCalls();

/// What the authorization database answers for the right from now on, until that is set. A right that it lacks is
/// denied.
void setAuthorizationRightStatus(const std::string &name, OSStatus status);

struct BlessCall {
  NSString *domain;
  NSString *label;
  AuthorizationRef authorization;
};

std::vector<BlessCall> &blessCalls();
