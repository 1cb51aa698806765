#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <objc/NSObject.h>
#include <objc/objc.h>
#include <since.h>
#include <stdarg.h>

#define NS_FORMAT_FUNCTION(text, values) __attribute__((format(__NSString__, text, values)))

extern "C" {

@class NSArray, NSData, NSDictionary, NSError, NSFileHandle, NSString;

typedef unsigned short unichar;
typedef NSUInteger NSStringEncoding;
enum : NSStringEncoding { NSASCIIStringEncoding = 1, NSUTF8StringEncoding = 4 };

typedef struct _NSRange {
  NSUInteger location;
  NSUInteger length;
} NSRange;
static inline NSRange NSMakeRange(NSUInteger location, NSUInteger length) { return {location, length}; }

enum NSSearchPathDirectory : NSUInteger { NSApplicationDirectory = 1 };
typedef NSUInteger NSSearchPathDomainMask;
enum : NSSearchPathDomainMask { NSUserDomainMask = 1 };

extern NSString *const NSLocalizedDescriptionKey SINCE(10.2);
extern NSString *const NSRangeException SINCE(10.0);

void NSLog(NSString *format, ...) NS_FORMAT_FUNCTION(1, 2) SINCE(10.0);
NSString *NSStringFromSelector(SEL selector) SINCE(10.0);
NSString *NSHomeDirectory(void) SINCE(10.0);
NSString *NSTemporaryDirectory(void) SINCE(10.0);
NSArray *NSSearchPathForDirectoriesInDomains(NSSearchPathDirectory directory, NSSearchPathDomainMask domains,
                                             BOOL expandTilde) SINCE(10.0);
}

@interface NSObject (KeyValueCoding)
- (id)valueForKey:(NSString *)key SINCE(10.0);
@end

SINCE(10.0)
@interface NSString : NSObject
+ (id)stringWithCharacters:(const unichar *)characters length:(NSUInteger)length SINCE(10.0);
+ (id)stringWithFormat:(NSString *)format, ... NS_FORMAT_FUNCTION(1, 2) SINCE(10.0);
- (id)initWithFormat:(NSString *)format arguments:(va_list)arguments NS_FORMAT_FUNCTION(1, 0) SINCE(10.0);
- (id)initWithData:(NSData *)data encoding:(NSStringEncoding)encoding SINCE(10.0);
- (NSUInteger)length SINCE(10.0);
- (void)getCharacters:(unichar *)buffer range:(NSRange)range SINCE(10.0);
- (BOOL)writeToFile:(NSString *)path
         atomically:(BOOL)atomically
           encoding:(NSStringEncoding)encoding
              error:(NSError **)error SINCE(10.4);
@end

SINCE(10.0)
@interface NSMutableString : NSString
+ (id)string SINCE(10.0);
- (void)appendFormat:(NSString *)format, ... NS_FORMAT_FUNCTION(1, 2) SINCE(10.0);
@end

SINCE(10.0)
@interface NSData : NSObject
@end

SINCE(10.0)
@interface NSArray : NSObject
+ (id)arrayWithObjects:(const id[])objects count:(NSUInteger)count SINCE(10.0);
- (id)objectAtIndex:(NSUInteger)index SINCE(10.0);
@end

SINCE(10.0)
@interface NSDictionary : NSObject
+ (id)dictionary SINCE(10.0);
+ (id)dictionaryWithObjects:(const id[])objects forKeys:(const id[])keys count:(NSUInteger)count SINCE(10.0);
@end

SINCE(10.0)
@interface NSMutableDictionary : NSDictionary
- (void)setObject:(id)object forKey:(id)key SINCE(10.0);
@end

SINCE(10.0)
@interface NSAttributedString : NSObject
- (id)initWithString:(NSString *)string SINCE(10.0);
- (id)initWithString:(NSString *)string attributes:(NSDictionary *)attributes SINCE(10.0);
- (NSUInteger)length SINCE(10.0);
@end

SINCE(10.0)
@interface NSMutableAttributedString : NSAttributedString
- (void)addAttribute:(NSString *)name value:(id)value range:(NSRange)range SINCE(10.0);
- (void)appendAttributedString:(NSAttributedString *)string SINCE(10.0);
@end

SINCE(10.2)
@interface NSError : NSObject
+ (id)errorWithDomain:(NSString *)domain code:(NSInteger)code userInfo:(NSDictionary *)info SINCE(10.2);
- (NSString *)domain SINCE(10.2);
- (NSInteger)code SINCE(10.2);
- (NSString *)localizedDescription SINCE(10.2);
@end

SINCE(10.0)
__attribute__((objc_exception))
@interface NSException : NSObject
+ (NSException *)exceptionWithName:(NSString *)name reason:(NSString *)reason userInfo:(NSDictionary *)info SINCE(10.0);
- (void)raise SINCE(10.0);
- (NSString *)reason SINCE(10.0);
@end

SINCE(10.0)
@interface NSBundle : NSObject
+ (NSBundle *)mainBundle SINCE(10.0);
- (NSString *)bundlePath SINCE(10.0);
- (NSString *)localizedStringForKey:(NSString *)key value:(NSString *)value table:(NSString *)table SINCE(10.0);
- (NSString *)pathForResource:(NSString *)name ofType:(NSString *)type SINCE(10.0);
@end

SINCE(10.0)
@interface NSFileHandle : NSObject
- (int)fileDescriptor SINCE(10.0);
- (NSData *)readDataToEndOfFile SINCE(10.0);
@end

SINCE(10.0)
@interface NSFileManager : NSObject
+ (NSFileManager *)defaultManager SINCE(10.0);
- (BOOL)fileExistsAtPath:(NSString *)path SINCE(10.0);
- (BOOL)removeItemAtPath:(NSString *)path error:(NSError **)error SINCE(10.5);
- (BOOL)copyItemAtPath:(NSString *)source toPath:(NSString *)target error:(NSError **)error SINCE(10.5);
- (BOOL)createDirectoryAtPath:(NSString *)path
    withIntermediateDirectories:(BOOL)intermediates
                     attributes:(NSDictionary *)attributes
                          error:(NSError **)error SINCE(10.5);
@end

SINCE(10.5)
@interface NSOperationQueue : NSObject
+ (NSOperationQueue *)mainQueue SINCE(10.6);
- (void)addOperationWithBlock:(void (^)(void))block SINCE(10.6);
@end

SINCE(10.0)
@interface NSPipe : NSObject
+ (NSPipe *)pipe SINCE(10.0);
- (NSFileHandle *)fileHandleForReading SINCE(10.0);
@end

SINCE(10.0)
@interface NSTask : NSObject
- (void)setLaunchPath:(NSString *)path SINCE(10.0);
- (void)setArguments:(NSArray *)arguments SINCE(10.0);
- (void)setStandardOutput:(id)output SINCE(10.0);
- (void)launch SINCE(10.0);
@end

SINCE(10.0)
@interface NSURL : NSObject
+ (id)URLWithString:(NSString *)string SINCE(10.0);
+ (id)fileURLWithPath:(NSString *)path SINCE(10.0);
- (NSString *)path SINCE(10.0);
@end

SINCE(10.0)
@interface NSUserDefaults : NSObject
+ (NSUserDefaults *)standardUserDefaults SINCE(10.0);
- (id)objectForKey:(NSString *)key SINCE(10.0);
@end

SINCE(10.0)
@interface NSNotification : NSObject
@end

SINCE(10.8)
@interface NSUUID : NSObject
+ (id)UUID SINCE(10.8);
- (NSString *)UUIDString SINCE(10.8);
@end

SINCE(10.8)
@interface NSXPCListenerEndpoint : NSObject
@end

SINCE(10.8)
@interface NSXPCInterface : NSObject
+ (NSXPCInterface *)interfaceWithProtocol:(Protocol *)protocol SINCE(10.8);
@end

typedef NSUInteger NSXPCConnectionOptions;
enum : NSXPCConnectionOptions { NSXPCConnectionPrivileged SINCE(10.8) = 1 << 12 };

SINCE(10.8)
@interface NSXPCConnection : NSObject
- (id)initWithMachServiceName:(NSString *)name options:(NSXPCConnectionOptions)options SINCE(10.8);
- (void)setRemoteObjectInterface:(NSXPCInterface *)interface SINCE(10.8);
- (void)setInvalidationHandler:(void (^)(void))handler SINCE(10.8);
- (id)remoteObjectProxyWithErrorHandler:(void (^)(NSError *error))handler SINCE(10.8);
- (void)resume SINCE(10.8);
@end
