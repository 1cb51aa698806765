#import <Foundation/Foundation.h>
#import <Security/Authorization.h>

/// The authorization rights of the helper tool's commands. "Common" is also the name of the strings table that the
/// authorization database is given for their descriptions. Any thread.
@interface Common : NSObject

/// Command, as its selector's text, to its record: "authRightName", "authRightDefault", "authRightDescription". Made
/// on the first call, in the user's language, and the same object ever after.
+ (NSDictionary *)commandInfo;

/// Nil for a command without a right.
+ (NSString *)authorizationRightForCommand:(SEL)command;

/// Calls the block once for each right, in no particular order.
+ (void)enumerateRightsUsingBlock:(void (^)(NSString *authRightName, id authRightDefault,
                                            NSString *authRightDescription))block;

/// Creates the rights that the authorization database lacks. Existing ones are left alone; failures are silent.
+ (void)setupAuthorizationRights:(AuthorizationRef)authRef;

@end
