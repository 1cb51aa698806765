#pragma once

#import <Foundation/Foundation.h>

#import "platform/cocoa/retained.h"
#include "platform/helper_connection.hpp"

namespace quillmark::cocoa {

class CocoaData final : public Data {
 public:
  explicit CocoaData(NSData *data) : data_(Retained<NSData>::retain(data)) {}
  [[nodiscard]] NSData *get() const { return data_.get(); }
  [[nodiscard]] std::string description() const override;

 private:
  Retained<NSData> data_;
};

class CocoaHelperConnection final : public HelperConnection {
 public:
  explicit CocoaHelperConnection(Retained<NSXPCConnection> connection) : connection_(std::move(connection)) {}
  [[nodiscard]] NSXPCConnection *get() const { return connection_.get(); }

  void setRemoteObjectInterface() override;
  void setInvalidationHandler(std::function<void()> handler) override;
  void resume() override;
  std::unique_ptr<HelperTool> remoteObjectProxy(std::function<void(const Error &error)> errorHandler) override;

 private:
  Retained<NSXPCConnection> connection_;
};

class CocoaHelperConnections final : public HelperConnections {
 public:
  std::shared_ptr<HelperConnection> privilegedConnection(const std::string &machServiceName) override;
};

}  // namespace quillmark::cocoa
