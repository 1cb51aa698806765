// Launching and opening as on a Mac. GNUstep's workspace knows only applications of its own shape, and waits long
// for desktop services that may not be there.

#import <AppKit/AppKit.h>

namespace {

BOOL start(NSString *executable, NSArray *arguments) {
  @try {
    [NSTask launchedTaskWithLaunchPath:executable arguments:arguments];
    return YES;
  } @catch (NSException *refusal) {
    NSLog(@"%@", [refusal reason]);
    return NO;
  }
}

NSString *executableOf(NSString *application) {
  NSString *contents = [application stringByAppendingPathComponent:@"Contents"];
  NSDictionary *info =
      [NSDictionary dictionaryWithContentsOfFile:[contents stringByAppendingPathComponent:@"Info.plist"]];
  NSString *name = [info objectForKey:@"CFBundleExecutable"];
  if (name == nil) return nil;
  return [[contents stringByAppendingPathComponent:@"MacOS"] stringByAppendingPathComponent:name];
}

}  // namespace

@interface NSWorkspace (QuillmarkWorkspace)
@end

@implementation NSWorkspace (QuillmarkWorkspace)

- (BOOL)launchApplication:(NSString *)name {
  NSString *bundle = [name stringByAppendingPathExtension:@"app"];
  NSArray *folders = @[ @"/Applications", [NSHomeDirectory() stringByAppendingPathComponent:@"Applications"] ];
  for (NSString *folder in folders) {
    NSString *executable = executableOf([folder stringByAppendingPathComponent:bundle]);
    if ([[NSFileManager defaultManager] isExecutableFileAtPath:executable]) return start(executable, @[]);
  }
  return NO;
}

/// Through `open`, the command by which a Mac's shell does the same; xdg-open stands in where a desktop has it.
- (BOOL)openURL:(NSURL *)url {
  for (NSString *command in @[ @"/usr/local/bin/open", @"/usr/bin/xdg-open" ]) {
    if ([[NSFileManager defaultManager] isExecutableFileAtPath:command]) {
      return start(command, @[ [url absoluteString] ]);
    }
  }
  return NO;
}

@end
