#import "platform/cocoa/mac.h"

#import "platform/cocoa/appkit.h"
#import "platform/cocoa/dynamic_loader.h"
#import "platform/cocoa/foundation.h"
#import "platform/cocoa/helper_connection.h"
#import "platform/cocoa/security.h"

namespace quillmark::cocoa {

const Mac &mac() {
  static CocoaAlertPanel alertPanel;
  static CocoaApplication application;
  static CocoaBundle mainBundle([NSBundle mainBundle]);
  static CocoaConsole console;
  static CocoaDirectories directories;
  static SystemLoader dynamicLoader;
  static CocoaFileManager fileManager;
  static CocoaHelperConnections helperConnections;
  static CocoaMainQueue mainQueue;
  static CocoaServiceManagement serviceManagement;
  static CocoaShellTask shellTask;
  static CocoaURLs urls;
  static CocoaUUIDs uuids;
  static CocoaUserDefaults userDefaults;
  static CocoaWorkspace workspace;
  static const Mac mac = {
      .alertPanel = alertPanel,
      .application = application,
      .mainBundle = mainBundle,
      .console = console,
      .directories = directories,
      .dynamicLoader = dynamicLoader,
      .fileManager = fileManager,
      .helperConnections = helperConnections,
      .mainQueue = mainQueue,
      .serviceManagement = serviceManagement,
      .shellTask = shellTask,
      .urls = urls,
      .uuids = uuids,
      .userDefaults = userDefaults,
      .workspace = workspace,
  };
  return mac;
}

}  // namespace quillmark::cocoa
