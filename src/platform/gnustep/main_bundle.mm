// The main bundle of a Mac-shaped application: X.app/Contents/MacOS/X with its Info.plist and Resources in
// Contents. GNUstep expects the executable directly in X.app. A program outside of such a bundle, as the tests are,
// has its own folder for a main bundle.

#import <Foundation/Foundation.h>

@interface QuillmarkMainBundle : NSBundle {
  NSBundle *_contents;
  NSString *_executablePath;
  NSDictionary *_infoDictionary;
}
- (id)initWithApplication:(NSString *)application executable:(NSString *)executable;
@end

@implementation QuillmarkMainBundle

- (id)initWithApplication:(NSString *)application executable:(NSString *)executable {
  self = [super initWithPath:application];
  if (self == nil) return nil;
  NSString *contents = [application stringByAppendingPathComponent:@"Contents"];
  _contents = [[NSBundle alloc] initWithPath:contents];
  _executablePath = [executable copy];
  _infoDictionary =
      [[NSDictionary alloc] initWithContentsOfFile:[contents stringByAppendingPathComponent:@"Info.plist"]];
  return self;
}

- (void)dealloc {
  [_contents release];
  [_executablePath release];
  [_infoDictionary release];
  [super dealloc];
}

- (NSString *)executablePath {
  return _executablePath;
}

- (NSDictionary *)infoDictionary {
  return _infoDictionary;
}

- (NSString *)bundleIdentifier {
  return [_infoDictionary objectForKey:@"CFBundleIdentifier"];
}

- (NSString *)resourcePath {
  return [[self bundlePath] stringByAppendingPathComponent:@"Contents/Resources"];
}

- (NSString *)pathForResource:(NSString *)name ofType:(NSString *)type {
  return [_contents pathForResource:name ofType:type];
}

- (NSString *)pathForResource:(NSString *)name ofType:(NSString *)type inDirectory:(NSString *)directory {
  return [_contents pathForResource:name ofType:type inDirectory:directory];
}

- (NSArray *)pathsForResourcesOfType:(NSString *)type inDirectory:(NSString *)directory {
  return [_contents pathsForResourcesOfType:type inDirectory:directory];
}

- (NSArray *)localizations {
  return [_contents localizations];
}

- (NSString *)localizedStringForKey:(NSString *)key value:(NSString *)value table:(NSString *)table {
  return [_contents localizedStringForKey:key value:value table:table];
}

@end

@interface NSBundle (QuillmarkMainBundle)
@end

@implementation NSBundle (QuillmarkMainBundle)

+ (NSBundle *)makeMainBundle {
  NSString *executable = [[NSFileManager defaultManager] pathContentOfSymbolicLinkAtPath:@"/proc/self/exe"];
  NSString *folder = [executable stringByDeletingLastPathComponent];
  if (![folder hasSuffix:@".app/Contents/MacOS"]) return [[NSBundle alloc] initWithPath:folder];
  NSString *application = [[folder stringByDeletingLastPathComponent] stringByDeletingLastPathComponent];
  return [[QuillmarkMainBundle alloc] initWithApplication:application executable:executable];
}

+ (NSBundle *)mainBundle {
  static NSBundle *const bundle = [self makeMainBundle];
  return bundle;
}

@end
