// The gallery's page: pictures as PNG files and one HTML file that shows them.
#pragma once

#include <map>
#include <ostream>
#include <string>

#include "stage.h"

namespace gallery {

class Page {
public:
    // `folder` is made if need be; pictures of an earlier page in it are removed. `reference` is where the page finds
    // the reference of the functions.
    Page(const std::string& folder, const std::string& reference);

    void add(const Family& family, const Entry& entry, const Stage& stage);
    // Writes index.html and returns its path. `head` is the text below the title, in HTML. Beside it index.tsv tells
    // which entries show which functions.
    std::string write(const std::string& head) const;

private:
    struct Shown {
        const Family* family;
        std::string name, id, html, picture;
        std::vector<std::string> functions;
        bool failed;
    };
    std::string savePicture(const Figure& figure, const std::string& id);
    void writeFigures(std::ostream& out, const char* title, const std::vector<Figure>& figures, const std::string& id);
    void writeCalls(std::ostream& out, const Stage& stage) const;
    template <class Each>
    void forFamilies(Each each) const;
    void writeContents(std::ostream& out) const;
    void writeEntries(std::ostream& out) const;
    void writeIndex() const;

    std::string folder, reference;
    std::vector<Shown> entries;
    std::map<std::string, std::string> files;  // by their pixels, as sources come back in many entries
};

// A name as a part of an address.
std::string slug(const std::string& name);
std::string escaped(const std::string& text);

}  // namespace gallery
