#include "tests/contract/plugin_exports/DynamicTables.h"

#include <cxxabi.h>
#include <elf.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

namespace tests {
namespace {

class Image {
public:
    explicit Image(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        bytes.assign(std::istreambuf_iterator<char>(file), {});
        header = At<Elf64_Ehdr>(0);
        if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != ELFCLASS64) {
            throw std::runtime_error(path + " is no 64-bit ELF file");
        }
    }

    Elf64_Shdr Section(std::size_t index) const {
        return At<Elf64_Shdr>(header.e_shoff + index * sizeof(Elf64_Shdr));
    }

    Elf64_Shdr SectionOfType(std::uint32_t type) const {
        for (std::size_t index = 0; index < header.e_shnum; ++index) {
            if (Section(index).sh_type == type) return Section(index);
        }
        throw std::runtime_error("a section is missing");
    }

    template <class Entry>
    std::vector<Entry> Entries(const Elf64_Shdr& section) const {
        std::vector<Entry> entries;
        for (std::uint64_t offset = 0; offset + sizeof(Entry) <= section.sh_size; offset += sizeof(Entry))
            entries.push_back(At<Entry>(section.sh_offset + offset));
        return entries;
    }

    std::string Text(const Elf64_Shdr& strings, std::uint64_t offset) const {
        const std::string rest(bytes, strings.sh_offset + offset, strings.sh_size - offset);
        return rest.substr(0, rest.find('\0'));
    }

private:
    template <class Entry>
    Entry At(std::uint64_t offset) const {
        if (offset + sizeof(Entry) > bytes.size()) throw std::runtime_error("the file is too short");
        Entry entry;
        std::memcpy(&entry, bytes.data() + offset, sizeof(Entry));
        return entry;
    }

    std::string bytes;
    Elf64_Ehdr header{};
};

std::string Demangled(const std::string& name) {
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> text(
        abi::__cxa_demangle(name.c_str(), nullptr, nullptr, &status), &std::free);
    return status == 0 ? text.get() : name;
}

}  // namespace

DynamicTables ReadDynamicTables(const std::string& path) {
    const Image image(path);
    DynamicTables tables;

    const Elf64_Shdr symbols = image.SectionOfType(SHT_DYNSYM);
    const Elf64_Shdr symbolNames = image.Section(symbols.sh_link);
    for (const Elf64_Sym& symbol : image.Entries<Elf64_Sym>(symbols)) {
        const bool visible = ELF64_ST_BIND(symbol.st_info) != STB_LOCAL;
        if (visible && symbol.st_shndx != SHN_UNDEF) {
            tables.exports.insert(Demangled(image.Text(symbolNames, symbol.st_name)));
        }
    }

    const Elf64_Shdr dynamic = image.SectionOfType(SHT_DYNAMIC);
    const Elf64_Shdr libraryNames = image.Section(dynamic.sh_link);
    for (const Elf64_Dyn& entry : image.Entries<Elf64_Dyn>(dynamic)) {
        if (entry.d_tag == DT_NEEDED) tables.needed.push_back(image.Text(libraryNames, entry.d_un.d_val));
        if (entry.d_tag == DT_FLAGS_1) tables.stateFlags = entry.d_un.d_val;
    }
    return tables;
}

}  // namespace tests
