{
  "variables": {
    # The folder holding lumetra_rpc/lumetra_rpc.h; scripts/build.sh passes it when it builds
    # from a copy outside the repository.
    "lmrpc_include%": "<(module_root_dir)/../../include"
  },
  "targets": [
    {
      "target_name": "lumetra_rpc_node",
      "sources": ["src/addon.cpp", "src/library.cpp"],
      "include_dirs": [
        "<!(node -p \"require('node-addon-api').include_dir\")",
        "<(lmrpc_include)"
      ],
      "defines": ["NAPI_VERSION=8", "NAPI_CPP_EXCEPTIONS"],
      "cflags_cc!": ["-fno-exceptions", "-std=gnu++17"],
      "cflags_cc": ["-std=c++20", "-fexceptions", "-Wall", "-Wextra"],
      "libraries": ["-ldl"]
    }
  ]
}
