// The gallery's page: pictures as PNG files and one HTML file that shows them.
#pragma once

#include <map>
#include <ostream>
#include <string>

#include "stage.h"

namespace gallery {

class Page {
public:
    // `folder` is made if need be; pictures of an earlier page in it are removed.
    explicit Page(const std::string& folder);

    void add(const Family& family, const Entry& entry, const Stage& stage);
    // Writes index.html and returns its path. `head` is the text below the title, in HTML.
    std::string write(const std::string& head) const;

private:
    struct Shown {
        std::string subsystem, family, familyText, name, id, html;
        bool failed;
    };
    std::string savePicture(const Figure& figure, const std::string& id);
    void writeFigures(std::ostream& out, const char* title, const std::vector<Figure>& figures, const std::string& id);
    void writeContents(std::ostream& out) const;
    void writeEntries(std::ostream& out) const;

    std::string folder;
    std::vector<Shown> entries;
    std::map<std::string, std::string> files;  // by their pixels, as sources come back in many entries
};

std::string escaped(const std::string& text);

}  // namespace gallery
