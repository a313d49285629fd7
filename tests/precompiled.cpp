// The translation unit that carries the test programs' precompiled header
// (tests/CMakeLists.txt); it has no code of its own.
