#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

// Clips of the kinds that cameras and other programs write, made with the program ffmpeg.
namespace film {

/// Runs ffmpeg with these arguments, as in a shell.
inline void RunFfmpeg(const std::string& arguments) {
  const std::string command = "ffmpeg -nostdin -hide_banner -v error -y " + arguments + " 2>&1";
  ASSERT_EQ(std::system(command.c_str()), 0) << command;
}

/// A moving test card of 64x48 with noise, 25 frames a second.
inline void MakeClip(const std::string& path, int frames, const std::string& options,
                     const std::string& size = "64x48") {
  RunFfmpeg("-f lavfi -i testsrc2=size=" + size + ":rate=25 -frames:v " + std::to_string(frames) + " " + options +
            " '" + path + "'");
}

}  // namespace film
