#pragma once

namespace quillmark {

class AlertPanel;
class Application;
class Bundle;
class Console;
class Directories;
class DynamicLoader;
class FileManager;
class HelperConnections;
class MainQueue;
class ServiceManagement;
class ShellTask;
class URLs;
class UUIDs;
class UserDefaults;
class Workspace;

/// The Mac, for a sequence that needs much of it. It lives as long as the process, so work that outlives a call
/// may keep references to its members.
struct Mac {
  AlertPanel &alertPanel;
  Application &application;
  Bundle &mainBundle;
  Console &console;
  Directories &directories;
  DynamicLoader &dynamicLoader;
  FileManager &fileManager;
  HelperConnections &helperConnections;
  MainQueue &mainQueue;
  ServiceManagement &serviceManagement;
  ShellTask &shellTask;
  URLs &urls;
  UUIDs &uuids;
  UserDefaults &userDefaults;
  Workspace &workspace;
};

}  // namespace quillmark
