// The installer on a Mac whose helper tool answers. Two launch arguments:
//   -handOver YES   has the helper install once the window is there, which no control of the window offers
//   -refusal CODE   has the helper answer each command with that error

#import <AppKit/AppKit.h>

#import "HelperToolProtocol.h"
#import "app/AppDelegate.h"
#import "platform/gnustep/mach_services.h"

@interface Helper : NSObject <HelperToolProtocol>
@end

@implementation Helper

- (NSError *)refusal {
  const NSInteger code = [[NSUserDefaults standardUserDefaults] integerForKey:@"refusal"];
  return code == 0 ? nil : [NSError errorWithDomain:NSPOSIXErrorDomain code:code userInfo:nil];
}

- (void)connectWithEndpointReply:(void (^)(NSXPCListenerEndpoint *))reply {
  reply(nil);
}

- (void)getVersionWithReply:(void (^)(NSString *))reply {
  reply(@"2.0");
}

- (void)install:(NSString *)path authorization:(NSData *)authorization withReply:(void (^)(NSError *))reply {
  NSLog(@"helper: install %@ with %@", path, authorization);
  reply([self refusal]);
}

- (void)bindToLowNumberPortAuthorization:(NSData *)authorization
                               withReply:(void (^)(NSError *, NSFileHandle *, NSFileHandle *))reply {
  NSLog(@"helper: bind with %@", authorization);
  reply([self refusal], [NSFileHandle fileHandleWithStandardInput], [NSFileHandle fileHandleWithStandardError]);
}

@end

int main(int argc, char *argv[]) {
  @autoreleasepool {
    registerMachService(@"com.quillmark.customInstaller.Helper", [[[Helper alloc] init] autorelease]);
    [[NSNotificationCenter defaultCenter]
        addObserverForName:NSApplicationDidFinishLaunchingNotification
                    object:nil
                     queue:nil
                usingBlock:^(NSNotification *) {
                  if (![[NSUserDefaults standardUserDefaults] boolForKey:@"handOver"]) return;
                  [static_cast<AppDelegate *>([NSApp delegate]) installQuillmarkApplication2];
                }];
  }
  return NSApplicationMain(argc, const_cast<const char **>(argv));
}
