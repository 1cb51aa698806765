#import <AppKit/AppKit.h>

int main(int argc, char *argv[]) { return NSApplicationMain(argc, const_cast<const char **>(argv)); }
