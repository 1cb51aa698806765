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

/// Takes the right out of the authorization database, or does nothing when it is not there.
void removeAuthorizationRight(const std::string &name);

struct BlessCall {
  NSString *domain;
  NSString *label;
  AuthorizationRef authorization;
};

std::vector<BlessCall> &blessCalls();
