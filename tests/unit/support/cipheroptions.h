#ifndef CIPHEROPTIONS_H
#define CIPHEROPTIONS_H

// The cipher names of the command line and of `openssl enc`, in the order of
// ClientSideEncryption::Algorithm.
inline constexpr const char* global_cipherOptions[] = {
    "bf-cbc", "bf-cfb", "bf-ofb", "des-ede3-cbc", "des-ede3-cfb", "des-ede3-ofb",
    "aes-128-cbc", "aes-192-cbc", "aes-256-cbc", "aes-128-cfb", "aes-192-cfb", "aes-256-cfb",
    "aes-128-cfb1", "aes-192-cfb1", "aes-256-cfb1", "aes-128-cfb8", "aes-192-cfb8",
    "aes-256-cfb8", "aes-128-ofb", "aes-192-ofb", "aes-256-ofb"};

#endif
