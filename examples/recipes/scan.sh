dib run scan.png grey max:6 gaussian:30 invert paper.png
dib run scan.png grey overlay:paper.png,mode=color-dodge rotate:-2,fill=#ffffff gaussian:1.5 levels:110,200 bpp:4,method=grey clean.png
