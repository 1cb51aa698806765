#import <Foundation/Foundation.h>

/// What the privileged helper tool answers over its Mach service. docs/helper.md says what each message means.
@protocol HelperToolProtocol

@required

- (void)connectWithEndpointReply:(void (^)(NSXPCListenerEndpoint *endpoint))reply;

- (void)getVersionWithReply:(void (^)(NSString *version))reply;

/// The error is nil on success.
- (void)install:(NSString *)path authorization:(NSData *)authorization withReply:(void (^)(NSError *error))reply;

- (void)bindToLowNumberPortAuthorization:(NSData *)authorization
                               withReply:
                                   (void (^)(NSError *error, NSFileHandle *ipv4Handle, NSFileHandle *ipv6Handle))reply;

@end
