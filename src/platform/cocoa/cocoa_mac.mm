#import "platform/cocoa/cocoa_mac.h"

#include <dlfcn.h>

#import "platform/cocoa/appkit.h"
#import "platform/cocoa/cocoa_typography.h"
#import "platform/cocoa/foundation.h"
#import "platform/cocoa/helper_connection.h"
#import "platform/cocoa/security.h"
#include "platform/dynamic_loader.hpp"

namespace quillmark::cocoa {

namespace {

class SystemLoader final : public DynamicLoader {
 public:
  void *open(const std::string &path) override { return dlopen(path.c_str(), RTLD_LAZY); }
  void *symbol(void *handle, const std::string &name) override { return dlsym(handle, name.c_str()); }
  void close(void *handle) override { dlclose(handle); }
};

}  // namespace

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
  static CocoaTypography typography;
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
      .typography = typography,
      .urls = urls,
      .uuids = uuids,
      .userDefaults = userDefaults,
      .workspace = workspace,
  };
  return mac;
}

}  // namespace quillmark::cocoa
