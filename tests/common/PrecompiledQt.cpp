// The translation unit that compiles the Qt headers every test uses into one precompiled header,
// which all test executables then share (see lichtwart_test).
