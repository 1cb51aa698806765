// usage: window-of.swift PROCESS SECONDS
//
// Waits for a window of the process on the screen and prints its number and, to standard error, where it lies.
import CoreGraphics
import Foundation

func fail(_ message: String) -> Never {
  FileHandle.standardError.write(Data("window-of: \(message)\n".utf8))
  exit(1)
}

guard CommandLine.arguments.count == 3, let process = Int(CommandLine.arguments[1]),
  let seconds = Double(CommandLine.arguments[2])
else { fail("usage: window-of.swift PROCESS SECONDS") }

let deadline = Date().addingTimeInterval(seconds)
while Date() < deadline {
  let all = CGWindowListCopyWindowInfo([.optionOnScreenOnly, .excludeDesktopElements], kCGNullWindowID)
  for window in all as? [[String: Any]] ?? [] {
    let isOrdinary = window[kCGWindowLayer as String] as? Int == 0
    guard isOrdinary, window[kCGWindowOwnerPID as String] as? Int == process,
      let number = window[kCGWindowNumber as String] as? Int
    else { continue }
    FileHandle.standardError.write(Data("window-of: \(window[kCGWindowBounds as String] ?? "")\n".utf8))
    print(number)
    exit(0)
  }
  if kill(pid_t(process), 0) != 0 { fail("process \(process) has ended without a window") }
  Thread.sleep(forTimeInterval: 0.01)
}
fail("process \(process) has shown no window within \(seconds) seconds")
