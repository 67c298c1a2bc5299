// The page's scripts: modules to editors and to this check; joined to one script on the page.
'use strict';

const path = require('path');
const js = require(path.join(__dirname, 'tests/integration/node_modules/@eslint/js'));

const browser = [
  'Blob',
  'DecompressionStream',
  'Option',
  'ResizeObserver',
  'Response',
  'URLSearchParams',
  'atob',
  'document',
  'getComputedStyle',
  'history',
  'localStorage',
  'location',
  'navigator',
  'performance',
  'requestAnimationFrame',
  'setTimeout',
  'window',
  'THREE',
];

module.exports = [
  {
    files: ['host/view/page/*.js'],
    languageOptions: {
      ecmaVersion: 2023,
      sourceType: 'module',
      globals: Object.fromEntries(browser.map((name) => [name, 'readonly'])),
    },
    rules: {
      ...js.configs.recommended.rules,
      'consistent-return': 'error',
      eqeqeq: 'error',
      'no-shadow': 'error',
      'no-use-before-define': ['error', { functions: false }],
      'no-var': 'error',
      'prefer-const': 'error',
    },
  },
  {
    files: ['eslint.config.js', 'tests/integration/*.js'],
    languageOptions: {
      sourceType: 'commonjs',
      globals: {
        __dirname: 'readonly',
        console: 'readonly',
        process: 'readonly',
        require: 'readonly',
        module: 'writable',
      },
    },
    rules: js.configs.recommended.rules,
  },
];
