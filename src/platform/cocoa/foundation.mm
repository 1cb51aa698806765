#import "platform/cocoa/foundation.h"

#include <dispatch/dispatch.h>

#import "platform/cocoa/retained.h"
#import "platform/cocoa/text.h"

namespace quillmark::cocoa {

std::string CocoaBundle::bundlePath() { return utf8([bundle_ bundlePath]); }

std::optional<std::string> CocoaBundle::pathForResource(const std::string &name, const std::string &type) {
  return optionalUTF8([bundle_ pathForResource:string(name) ofType:string(type)]);
}

std::string CocoaBundle::localizedString(const std::string &key) {
  return utf8([bundle_ localizedStringForKey:string(key) value:@"" table:nil]);
}

void CocoaConsole::log(const std::string &text) { NSLog(@"%@", string(text)); }

std::string CocoaDirectories::homeDirectory() { return utf8(NSHomeDirectory()); }

std::string CocoaDirectories::userApplicationsDirectory() {
  NSArray *folders = NSSearchPathForDirectoriesInDomains(NSApplicationDirectory, NSUserDomainMask, YES);
  return utf8([folders objectAtIndex:0]);
}

std::string CocoaDirectories::temporaryDirectory() { return utf8(NSTemporaryDirectory()); }

bool CocoaFileManager::fileExistsAtPath(const std::string &path) {
  return [[NSFileManager defaultManager] fileExistsAtPath:string(path)];
}

bool CocoaFileManager::removeItemAtPath(const std::string &path) {
  return [[NSFileManager defaultManager] removeItemAtPath:string(path) error:nullptr];
}

bool CocoaFileManager::createDirectoryAtPath(const std::string &path) {
  return [[NSFileManager defaultManager] createDirectoryAtPath:string(path)
                                   withIntermediateDirectories:YES
                                                    attributes:nil
                                                         error:nullptr];
}

bool CocoaFileManager::copyItemAtPath(const std::string &source, const std::string &target) {
  return [[NSFileManager defaultManager] copyItemAtPath:string(source) toPath:string(target) error:nullptr];
}

bool CocoaFileManager::writeASCII(const std::string &text, const std::string &path) {
  return [string(text) writeToFile:string(path) atomically:NO encoding:NSASCIIStringEncoding error:nullptr];
}

void CocoaMainQueue::dispatchAsync(std::function<void()> work) {
  dispatch_async(dispatch_get_main_queue(), ^{
    work();
  });
}

void CocoaMainQueue::addOperation(std::function<void()> work) {
  [[NSOperationQueue mainQueue] addOperationWithBlock:^{
    work();
  }];
}

std::optional<std::string> CocoaShellTask::standardOutput(const std::string &command) {
  NSData *output = nil;
  NSException *refusal = nil;
  @try {
    NSTask *task = [[[NSTask alloc] init] autorelease];
    NSPipe *pipe = [NSPipe pipe];
    [task setLaunchPath:@"/bin/sh"];
    [task setArguments:@[ @"-c", string(command) ]];
    [task setStandardOutput:pipe];
    [task launch];
    output = [[pipe fileHandleForReading] readDataToEndOfFile];
  } @catch (NSException *exception) {
    refusal = [exception retain];  // it need not outlive its handler
  }
  if (refusal != nil) {
    const auto exception = std::make_shared<Retained<NSException>>(Retained<NSException>::assume(refusal));
    throw TaskLaunchError(utf8([refusal reason]), std::shared_ptr<const void>(exception, exception->get()));
  }
  return optionalUTF8([[[NSString alloc] initWithData:output encoding:NSUTF8StringEncoding] autorelease]);
}

URLRef CocoaURLs::createFileURL(const std::string &path) { return [[NSURL fileURLWithPath:string(path)] retain]; }

std::optional<std::string> CocoaURLs::path(URLRef url) { return optionalUTF8([static_cast<NSURL *>(url) path]); }

void CocoaURLs::release(URLRef url) { [static_cast<NSURL *>(url) release]; }

bool CocoaUserDefaults::hasValueForKey(const std::string &key) {
  return [[NSUserDefaults standardUserDefaults] objectForKey:string(key)] != nil;
}

std::optional<std::string> CocoaUserDefaults::valueForKey(const std::string &key) {
  id value = [[NSUserDefaults standardUserDefaults] valueForKey:string(key)];
  if (value == nil) return std::nullopt;
  return utf8([NSString stringWithFormat:@"%@", value]);
}

std::string CocoaUUIDs::UUIDString() { return utf8([[NSUUID UUID] UUIDString]); }

}  // namespace quillmark::cocoa
