#include "film/ProjectPackage.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>

#include "film/Failure.h"
#include "film/OutputFile.h"
#include "film/StoredFormat.h"

namespace film {
namespace {

namespace fs = std::filesystem;

/// A folder in the making beside the place of a package; unless it was moved there it goes away.
class FolderInTheMaking {
 public:
  explicit FolderInTheMaking(const std::string& package) : folder(TemporaryPattern(package)) {
    if (!mkdtemp(folder.data())) FailToWrite(package, errno);
    const mode_t mask = umask(0);
    umask(mask);
    chmod(folder.c_str(), 0777 & ~mask);  // as any new folder; mkdtemp gives the owner's rights only
  }
  ~FolderInTheMaking() {
    std::error_code ignored;
    fs::remove_all(folder, ignored);
  }
  FolderInTheMaking(const FolderInTheMaking&) = delete;
  FolderInTheMaking& operator=(const FolderInTheMaking&) = delete;

  std::string operator/(const std::string& name) const { return folder + "/" + name; }
  const std::string& path() const { return folder; }

 private:
  std::string folder;
};

void checkIndexReplaceable(const std::string& path) {
  std::error_code error;
  if (!fs::is_regular_file(path, error) || fs::file_size(path, error) == 0) return;
  const std::optional<std::string> text = ReadUTF8File(path);
  if (!text || !ParseProjectFile(*text))
    throw Failure(path + ": this is no index of a project, and would be lost; choose another name");
}

void checkPlace(const std::string& package, bool force) {
  std::error_code error;
  if (!fs::exists(fs::symlink_status(package, error))) return;
  if (!fs::is_directory(package, error))
    throw Failure(package + ": this is no folder, as projects are; choose another name");
  if (!force) throw Failure(package + ": exists already; replace its files with --force or choose another name");
  for (const char* name : package_names::data) CheckExportReplaceable(package + "/" + name);
  checkIndexReplaceable(package + "/" + package_names::index);
}

void moveTo(const std::string& target, const std::string& from) {
  if (std::rename(from.c_str(), target.c_str()) != 0) FailToWrite(target, errno);
}

}  // namespace

std::string PackageName(const std::string& given) {
  std::string name = given;
  while (name.size() > 1 && name.back() == '/') name.pop_back();
  const std::string extension = fs::path(name).extension().string();
  if (extension != ".orvane" && extension != ".ORVANE" && extension != ".Orvane")
    throw Failure(given + ": this is no project; give a folder whose name ends in .orvane", kUsage);
  return name;
}

std::vector<std::string> PackagePaths(const std::string& package) {
  if (package.empty()) return {};
  std::vector<std::string> paths{package + "/" + package_names::index};
  for (const char* name : package_names::data) paths.push_back(package + "/" + name);
  return paths;
}

void WritePackage(const std::string& package, const ProjectFile& index, const std::vector<PackageFile>& files,
                  bool force) {
  checkPlace(package, force);
  const FolderInTheMaking making(package);
  for (const PackageFile& file : files) OutputFile::write(making / file.name, file.bytes);
  OutputFile::write(making / package_names::index, ProjectFileText(index));
  std::error_code error;
  if (!fs::exists(package, error)) return moveTo(package, making.path());
  for (const PackageFile& file : files) moveTo(package + "/" + file.name, making / file.name);
  moveTo(package + "/" + package_names::index,
         making / package_names::index);  // last: it is what makes a package of the others
}

}  // namespace film
