// A file that a server sends, written to a folder: whole or not at all.
#ifndef TOOLS_DORN_STATION_SAVEDFILE_H_
#define TOOLS_DORN_STATION_SAVEDFILE_H_

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

// Under a name of its own until Finish(), so that a file which does not come, or only in part,
// leaves what was saved before under the server's name. What goes wrong is told on standard error.
class SavedFile {
 public:
  // The server names the file; only its last part is used, so that it cannot choose the folder.
  SavedFile(const std::string& folder, const std::string& name);
  ~SavedFile();
  SavedFile(const SavedFile&) = delete;
  SavedFile& operator=(const SavedFile&) = delete;

  void Write(std::string_view bytes);
  // All has come: now it has the server's name.
  void Finish();

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  void Fail();

  const std::string mPath;
  std::string mPartPath;
  std::unique_ptr<std::FILE, Close> mFile;
};

#endif  // TOOLS_DORN_STATION_SAVEDFILE_H_
