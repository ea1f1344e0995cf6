import { defineConfig } from "vite";

export default defineConfig({
  build: {
    // Small enough to be always inlined would mean scripts and images that the server's policy does not let in.
    assetsInlineLimit: 0,
    chunkSizeWarningLimit: 700,
    rollupOptions: { input: ["index.html", "sign-in.html"] },
  },
});
