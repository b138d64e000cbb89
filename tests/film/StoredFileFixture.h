#pragma once

#include <algorithm>
#include <string>

#include "analysis/FileBytes.h"
#include "analysis/HomographySet.h"
#include "film/CommandLineFixture.h"
#include "tracking/StrkBytes.h"

// Files of every format, written by hand from their byte tables where the code under test would be their writer.
namespace film {

class StoredFileTest : public CommandTest {
 protected:
  std::string made(const std::string& name, const std::string& bytes) const {
    const std::string path = folder / name;
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
  }

  static std::string chunk(const std::string& tag, const std::string& body) { return strk::Chunk(tag, body); }
  static std::string file(const std::string& form, const std::string& chunks) { return strk::File(form, chunks); }

  static std::string matrixOf(float dx) {
    return Float(1) + Float(0) + Float(dx) + Float(0) + Float(1) + Float(0) + Float(0) + Float(0) + Float(1);
  }
  static std::string hset() {
    return file("HSET",
                chunk("CONF", Long(2) + Long(4) + Long(4)) + strk::List("MRNG", strk::Range(3, 4)) +
                    strk::List("HOMG", chunk("PROJ", Long(3) + matrixOf(0)) + chunk("PROJ", Long(4) + matrixOf(0.1F))));
  }
  static std::string pset() {
    return file("PSET", chunk("CONF", strk::Int(2) + strk::Int(0) + Long(2)) + chunk("COMM", std::string("odd\0", 4)) +
                            chunk("DATA", Long(7) + Float(1.5F) + Float(2) + Float(1) + Long(8) + Float(-3) +
                                              Float(0.1F) + Float(0.5F)));
  }
  static std::string gains() {
    const auto record = [](long frame, float gain) { return chunk("00FP", Long(frame) + Float(gain)); };
    return file("AGCG", chunk("CONF", Long(2) + Long(2)) + strk::List("DATA", record(5, 1) + record(6, 1.25F)) +
                            strk::List("MRNG", strk::Range(5, 6)));
  }
  static std::string fary() { return "FARY\n2 1 2\n" + Float(0.5F) + Float(-1); }
  static std::string mfp3() {
    return "MFP3\nH 2\n0 Hold\n0 9\n0 0 0 0\n4.5 4.5 0\n0 G\n1 None\n10 20\n0 0 0 0\n1 2 0\n1 B\nV 1\n0 Linear\n0 20\n"
           "2 17 2 1.5\n0 30 0.25\n0 G\n";
  }
  static constexpr char kOldHset[] = "HSET\n0 1 0 0 0 1 0 0 0 1\n1 1 0 2.123456789 0 1 -1 0 0 1\n";
  static constexpr char kMconf[] = "MCONF\n0 1\n1 0.05\n";
  static constexpr char kMatches[] = "MATCHES\n2\n1\n0 3 0.5\n1 2 0\n";
  static constexpr char kPoints[] = "POINTS\n2\n1 10 20.5\n7 1e2 -3\n";
  static constexpr char kMatrix[] = "2 3\n1\n2\n3\n4\n5\n-6.5e-3\n";
  static constexpr char kTracks[] =
      "TRACKS\nfrom a tool\nParams 3\ntrackstart 0\ntrackend 6\nwindow 13\n"
      "Feature 5\nstart 2 end 3\n1 2\n3.5 4\n";
  static constexpr char kMfp2[] = "MFP2\nH 1\n0 Linear\n0 9\n2 6 2 1.5\n1 12\nV 1\n0 Hold\n0 9\n0 0 0 0\n3 3\n";
  static constexpr char kMfp1[] = "MFP1\nH 1\n0 Linear\n0 9\n2 6 2 1.5\n1 12\nV 1\n0 Hold\n0 9\n0 0 0 0\n3 0\n";
  static constexpr char kOldGains[] = "GAINS\nstart 5\n1\n1.25\n";
};

}  // namespace film
